#include "app/MessageLoop.h"

#include <algorithm>

namespace krn {
namespace {

constexpr UINT kSystemTimer = 0x0118;

template <typename T>
void Remove(std::vector<T*>& list, T* item)
{
    list.erase(std::remove(list.begin(), list.end(), item), list.end());
}

} // namespace

void MessageLoop::AddMessageFilter(MessageFilter* filter)
{
    filters_.push_back(filter);
}

void MessageLoop::RemoveMessageFilter(MessageFilter* filter)
{
    Remove(filters_, filter);
}

void MessageLoop::AddIdleHandler(IdleHandler* handler)
{
    idleHandlers_.push_back(handler);
}

void MessageLoop::RemoveIdleHandler(IdleHandler* handler)
{
    Remove(idleHandlers_, handler);
}

bool MessageLoop::PreTranslateMessage(MSG* msg)
{
    // A filter may remove itself while it runs: walk a copy.
    const std::vector<MessageFilter*> filters = filters_;
    for (MessageFilter* filter : filters)
        if (filter->PreTranslateMessage(msg))
            return true;
    return false;
}

bool MessageLoop::OnIdle(int idleCount)
{
    const std::vector<IdleHandler*> handlers = idleHandlers_;
    bool again = false;
    for (IdleHandler* handler : handlers)
        again = handler->OnIdle(idleCount) || again;
    return again;
}

// Pointer movement, painting and the caret's timer arrive all the time; they
// do not count as activity that idle work should follow.
bool MessageLoop::RearmsIdling(UINT message)
{
    switch (message) {
    case WM_PAINT:
    case WM_NCMOUSEMOVE:
    case kSystemTimer:
    case WM_MOUSEMOVE:
        return false;
    }
    return true;
}

int MessageLoop::Run()
{
    bool idling = true;
    int idleCount = 0;
    for (;;) {
        while (idling && !PeekMessageW(&msg_, nullptr, 0, 0, PM_NOREMOVE)) {
            if (!OnIdle(idleCount++))
                idling = false;
        }
        BOOL got;
        do
            got = GetMessageW(&msg_, nullptr, 0, 0);
        while (got == -1);
        if (!got)
            return static_cast<int>(msg_.wParam);
        if (!PreTranslateMessage(&msg_)) {
            TranslateMessage(&msg_);
            DispatchMessageW(&msg_);
        }
        if (RearmsIdling(msg_.message)) {
            idling = true;
            idleCount = 0;
        }
    }
}

} // namespace krn
