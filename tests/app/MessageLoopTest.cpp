// The message loop's idle rule, driven by real posted messages. (Its one idle
// handler, the main window's, never asks for more idle calls.)
#include "app/MessageLoop.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// At the first idle call, posts the message under test and starts a timer; at
// the second, notes the message that came last and quits. As a filter it
// consumes the message under test: none of it reaches a window.
struct Probe : krn::MessageFilter, krn::IdleHandler {
    explicit Probe(UINT posted) : message(posted) {}
    bool PreTranslateMessage(MSG* msg) override
    {
        last = msg->message;
        return msg->message == message;
    }
    bool OnIdle(int idleCount) override
    {
        counts.push_back(idleCount);
        if (!timer) {
            PostThreadMessageW(GetCurrentThreadId(), message, 0, 0);
            timer = SetTimer(nullptr, 0, 150, nullptr);
        } else if (!lastBeforeIdle) {
            lastBeforeIdle = last;
            KillTimer(nullptr, timer);
            PostThreadMessageW(GetCurrentThreadId(), WM_QUIT, 5, 0);
        }
        return false;
    }
    UINT message, last = 0, lastBeforeIdle = 0;
    UINT_PTR timer = 0;
    std::vector<int> counts;
};

// Pointer movement, painting and the system timer do not re-arm idling; any
// other message does, with the count back at 0: a re-arming message is
// followed by the next idle call at once, any other only after the timer's
// WM_TIMER.
TEST(MessageLoop, OnlyActivityOtherThanMovesPaintAndSystemTimerRearmsIdling)
{
    const std::pair<UINT, bool> cases[] = {{WM_MOUSEMOVE, false}, {WM_NCMOUSEMOVE, false}, {0x0118, false},
                                           {WM_PAINT, false},     {WM_KEYDOWN, true},      {WM_MOUSEWHEEL, true},
                                           {WM_APP, true}};
    for (const auto& [message, rearms] : cases) {
        krn::MessageLoop loop;
        Probe probe(message);
        loop.AddMessageFilter(&probe);
        loop.AddIdleHandler(&probe);
        EXPECT_EQ(loop.Run(), 5);
        const UINT expected = rearms ? message : static_cast<UINT>(WM_TIMER);
        EXPECT_EQ(probe.lastBeforeIdle, expected) << "message 0x" << std::hex << message;
        EXPECT_EQ(probe.counts, std::vector<int>({0, 0}));
    }
}

} // namespace
