// The message loop's idle rule and filters, driven by real posted messages.
#include "app/MessageLoop.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace {

struct RecordingFilter : krn::MessageFilter {
    bool PreTranslateMessage(MSG* msg) override
    {
        seen.push_back(msg->message);
        return msg->message == consume;
    }
    std::vector<UINT> seen;
    UINT consume = 0;
};

struct ScriptedIdle : krn::IdleHandler {
    explicit ScriptedIdle(std::function<bool(int)> script) : onIdle(std::move(script)) {}
    bool OnIdle(int idleCount) override
    {
        counts.push_back(idleCount);
        return onIdle(idleCount);
    }
    std::function<bool(int)> onIdle;
    std::vector<int> counts;
};

void Post(UINT message, WPARAM wParam = 0)
{
    PostThreadMessageW(GetCurrentThreadId(), message, wParam, 0);
}

// Pointer movement, painting and the system timer do not re-arm idling; any
// other message does, with the count back at 0. The first idle call posts the
// message under test and starts a timer: a re-arming message is followed by
// the next idle call at once, any other only after the timer's WM_TIMER.
TEST(MessageLoop, OnlyActivityOtherThanMovesPaintAndSystemTimerRearmsIdling)
{
    const struct {
        UINT message;
        bool rearms;
    } cases[] = {{WM_MOUSEMOVE, false}, {WM_NCMOUSEMOVE, false}, {0x0118, false}, {WM_PAINT, false},
                 {WM_KEYDOWN, true},    {WM_MOUSEWHEEL, true},   {WM_APP, true}};
    for (const auto& c : cases) {
        krn::MessageLoop loop;
        RecordingFilter filter;
        filter.consume = c.message;  // none of it reaches a window
        UINT_PTR timer = 0;
        UINT idleAfter = 0;
        ScriptedIdle idle([&](int) {
            if (!timer) {
                Post(c.message);
                timer = SetTimer(nullptr, 0, 150, nullptr);
            } else if (!idleAfter) {
                idleAfter = filter.seen.back();
                KillTimer(nullptr, timer);
                Post(WM_QUIT, 5);
            }
            return false;
        });
        loop.AddMessageFilter(&filter);
        loop.AddIdleHandler(&idle);
        EXPECT_EQ(loop.Run(), 5);
        EXPECT_EQ(idleAfter, c.rearms ? c.message : static_cast<UINT>(WM_TIMER)) << "message 0x" << std::hex << c.message;
        EXPECT_EQ(idle.counts, std::vector<int>({0, 0}));
    }
}

TEST(MessageLoop, IdlingGoesOnWhileAnyHandlerAsksForMore)
{
    krn::MessageLoop loop;
    ScriptedIdle first([](int count) {
        if (count == 4)
            Post(WM_QUIT, 7);
        return count < 2;
    });
    ScriptedIdle second([](int count) { return count < 4; });
    loop.AddIdleHandler(&first);
    loop.AddIdleHandler(&second);
    EXPECT_EQ(loop.Run(), 7);
    EXPECT_EQ(first.counts, std::vector<int>({0, 1, 2, 3, 4}));
    EXPECT_EQ(second.counts, first.counts);
}

} // namespace
