// The message loop of one GUI thread: message filters see every message first,
// idle handlers run while the queue is empty.
#pragma once

#include <windows.h>

#include <vector>

namespace krn {

class MessageFilter {
public:
    // True when the message was consumed.
    virtual bool PreTranslateMessage(MSG* msg) = 0;
    virtual ~MessageFilter() = default;
};

class IdleHandler {
public:
    // True to be called again before the next message.
    virtual bool OnIdle(int idleCount) = 0;
    virtual ~IdleHandler() = default;
};

// Holds its filters and handlers without owning them.
class MessageLoop {
public:
    MessageLoop() = default;
    MessageLoop(const MessageLoop&) = delete;
    MessageLoop& operator=(const MessageLoop&) = delete;

    void AddMessageFilter(MessageFilter* filter);
    void RemoveMessageFilter(MessageFilter* filter);
    void AddIdleHandler(IdleHandler* handler);
    void RemoveIdleHandler(IdleHandler* handler);

    // Pumps until WM_QUIT and returns its wParam.
    int Run();

private:
    bool PreTranslateMessage(MSG* msg);
    bool OnIdle(int idleCount);
    static bool RearmsIdling(UINT message);

    std::vector<MessageFilter*> filters_;
    std::vector<IdleHandler*> idleHandlers_;
    MSG msg_{};
};

} // namespace krn
