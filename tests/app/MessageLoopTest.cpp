// The message loop's idle rule and filters, driven by real posted messages.
#include "app/MessageLoop.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using krn::IdleHandler;
using krn::MessageFilter;
using krn::MessageLoop;

constexpr UINT kSystemTimer = 0x0118;

// Sees every message first; consumes the ones it is told to.
class RecordingFilter : public MessageFilter {
public:
    bool PreTranslateMessage(MSG* msg) override
    {
        seen.push_back(msg->message);
        return msg->message == consume;
    }
    std::vector<UINT> seen;
    UINT consume = 0;
};

// Runs `onIdle` while the queue is empty and records each call.
class ScriptedIdle : public IdleHandler {
public:
    explicit ScriptedIdle(std::function<bool(int)> onIdle) : onIdle_(std::move(onIdle)) {}
    bool OnIdle(int idleCount) override
    {
        counts.push_back(idleCount);
        return onIdle_(idleCount);
    }
    std::vector<int> counts;

private:
    std::function<bool(int)> onIdle_;
};

void Post(UINT message, WPARAM wParam = 0)
{
    PostThreadMessageW(GetCurrentThreadId(), message, wParam, 0);
}

TEST(MessageLoop, ReturnsTheQuitCode)
{
    MessageLoop loop;
    Post(WM_QUIT, 32776);
    EXPECT_EQ(loop.Run(), 32776);
}

TEST(MessageLoop, IdleHandlersRunWhileTheyAskForMoreAndTheQueueIsEmpty)
{
    MessageLoop loop;
    ScriptedIdle first([](int count) {
        if (count == 4)
            Post(WM_QUIT, 7);
        return count < 2;
    });
    ScriptedIdle second([](int count) { return count < 4; });
    loop.AddIdleHandler(&first);
    loop.AddIdleHandler(&second);
    EXPECT_EQ(loop.Run(), 7);
    // Idling goes on while any handler wants more, with a rising count.
    EXPECT_EQ(first.counts, std::vector<int>({0, 1, 2, 3, 4}));
    EXPECT_EQ(second.counts, first.counts);
}

// Pointer movement, painting and the system timer do not re-arm idling; any
// other message does. The first idle call posts the message under test and
// starts a timer: when the message re-arms idling, the next idle call follows
// it at once; when it does not, only the timer's WM_TIMER brings idling back.
TEST(MessageLoop, OnlyActivityOtherThanMovesPaintAndSystemTimerRearmsIdling)
{
    struct Case {
        const char* what;
        UINT message;
        bool rearms;
    } cases[] = {
        {"WM_MOUSEMOVE", WM_MOUSEMOVE, false},  {"WM_NCMOUSEMOVE", WM_NCMOUSEMOVE, false},
        {"system timer", kSystemTimer, false},  {"WM_PAINT", WM_PAINT, false},
        {"WM_KEYDOWN", WM_KEYDOWN, true},       {"WM_MOUSEWHEEL", WM_MOUSEWHEEL, true},
        {"WM_APP", WM_APP, true},
    };
    for (const Case& c : cases) {
        MessageLoop loop;
        RecordingFilter filter;
        filter.consume = c.message;  // nothing of it reaches a window
        UINT_PTR timer = 0;
        UINT idleAfter = 0;
        ScriptedIdle idle([&](int) {
            if (!timer) {
                Post(c.message);
                timer = SetTimer(nullptr, 0, 150, nullptr);
            } else if (!idleAfter) {
                idleAfter = filter.seen.back();
                KillTimer(nullptr, timer);
                Post(WM_QUIT);
            }
            return false;
        });
        loop.AddMessageFilter(&filter);
        loop.AddIdleHandler(&idle);
        loop.Run();
        EXPECT_EQ(idleAfter, c.rearms ? c.message : static_cast<UINT>(WM_TIMER)) << c.what;
        EXPECT_EQ(idle.counts, std::vector<int>({0, 0})) << c.what << ": the count starts again at 0";
    }
}

// A handler that always wants more keeps counting up while the queue is
// empty; a quiet message in between does not reset the count.
TEST(MessageLoop, IdleCountRunsOnAcrossQuietMessages)
{
    struct Case {
        const char* what;
        UINT message;
        std::vector<int> expected;
    } cases[] = {
        {"WM_MOUSEMOVE", WM_MOUSEMOVE, {0, 1, 2}},
        {"WM_APP", WM_APP, {0, 1, 0}},
    };
    for (const Case& c : cases) {
        MessageLoop loop;
        RecordingFilter filter;
        filter.consume = c.message;
        ScriptedIdle idle([&](int) {
            if (idle.counts.size() == 2)
                Post(c.message);
            else if (idle.counts.size() == 3)
                Post(WM_QUIT);
            return true;
        });
        loop.AddMessageFilter(&filter);
        loop.AddIdleHandler(&idle);
        loop.Run();
        EXPECT_EQ(idle.counts, c.expected) << c.what;
    }
}

TEST(MessageLoop, ConsumedMessagesAreNotDispatched)
{
    static int dispatched = 0;
    WNDCLASSW cls{};
    cls.lpfnWndProc = [](HWND w, UINT m, WPARAM wp, LPARAM lp) -> LRESULT {
        if (m == WM_APP || m == WM_APP + 1)
            ++dispatched;
        return DefWindowProcW(w, m, wp, lp);
    };
    cls.lpszClassName = L"KrnLoopProbe";
    RegisterClassW(&cls);
    HWND window = CreateWindowExW(0, L"KrnLoopProbe", L"", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
    ASSERT_TRUE(window);

    MessageLoop loop;
    RecordingFilter first, second;
    first.consume = WM_APP;
    loop.AddMessageFilter(&first);
    loop.AddMessageFilter(&second);
    PostMessageW(window, WM_APP, 0, 0);
    PostMessageW(window, WM_APP + 1, 0, 0);
    Post(WM_QUIT, 3);
    EXPECT_EQ(loop.Run(), 3);
    EXPECT_EQ(dispatched, 1) << "only the message no filter consumed reaches the window";
    EXPECT_EQ(first.seen, std::vector<UINT>({WM_APP, WM_APP + 1}));
    EXPECT_EQ(second.seen, std::vector<UINT>({WM_APP + 1})) << "a consumed message goes no further";

    loop.RemoveMessageFilter(&first);
    PostMessageW(window, WM_APP, 0, 0);
    Post(WM_QUIT, 4);
    EXPECT_EQ(loop.Run(), 4);
    EXPECT_EQ(dispatched, 2);
    DestroyWindow(window);
}

} // namespace
