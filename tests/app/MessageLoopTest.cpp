// The message loop's idle rule and filters, driven by real posted messages.
#include "app/MessageLoop.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace {

// Records the messages it sees and consumes one of them; counts idle calls,
// going on as `idle` says.
struct Recorder : krn::MessageFilter, krn::IdleHandler {
    explicit Recorder(std::function<bool(int)> script, UINT consumed = 0) : idle(std::move(script)), consume(consumed) {}
    bool PreTranslateMessage(MSG* msg) override
    {
        seen.push_back(msg->message);
        return msg->message == consume;
    }
    bool OnIdle(int idleCount) override
    {
        counts.push_back(idleCount);
        return idle(idleCount);
    }
    std::function<bool(int)> idle;
    UINT consume;
    std::vector<UINT> seen;
    std::vector<int> counts;
};

// Pointer movement, painting and the system timer do not re-arm idling; any
// other message does, with the count back at 0. The first idle call posts the
// message under test and starts a timer: a re-arming message is followed by
// the next idle call at once, any other only after the timer's WM_TIMER.
TEST(MessageLoop, OnlyActivityOtherThanMovesPaintAndSystemTimerRearmsIdling)
{
    const std::pair<UINT, bool> cases[] = {{WM_MOUSEMOVE, false}, {WM_NCMOUSEMOVE, false}, {0x0118, false},
                                           {WM_PAINT, false},     {WM_KEYDOWN, true},      {WM_MOUSEWHEEL, true},
                                           {WM_APP, true}};
    for (const auto& [message, rearms] : cases) {
        krn::MessageLoop loop;
        UINT_PTR timer = 0;
        UINT idleAfter = 0;
        Recorder recorder(
            [&](int) {
                if (!timer) {
                    PostThreadMessageW(GetCurrentThreadId(), message, 0, 0);
                    timer = SetTimer(nullptr, 0, 150, nullptr);
                } else if (!idleAfter) {
                    idleAfter = recorder.seen.back();
                    KillTimer(nullptr, timer);
                    PostThreadMessageW(GetCurrentThreadId(), WM_QUIT, 5, 0);
                }
                return false;
            },
            message);  // none of it reaches a window
        loop.AddMessageFilter(&recorder);
        loop.AddIdleHandler(&recorder);
        EXPECT_EQ(loop.Run(), 5);
        EXPECT_EQ(idleAfter, rearms ? message : static_cast<UINT>(WM_TIMER)) << "message 0x" << std::hex << message;
        EXPECT_EQ(recorder.counts, std::vector<int>({0, 0}));
    }
}

TEST(MessageLoop, IdlingGoesOnWhileAnyHandlerAsksForMore)
{
    krn::MessageLoop loop;
    Recorder first([](int count) {
        if (count == 4)
            PostThreadMessageW(GetCurrentThreadId(), WM_QUIT, 7, 0);
        return count < 2;
    });
    Recorder second([](int count) { return count < 4; });
    loop.AddIdleHandler(&first);
    loop.AddIdleHandler(&second);
    EXPECT_EQ(loop.Run(), 7);
    EXPECT_EQ(first.counts, std::vector<int>({0, 1, 2, 3, 4}));
    EXPECT_EQ(second.counts, first.counts);
}

} // namespace
