// A thread that its owner waits for only a bounded time. A thread still
// stuck at that point (in a file system or shell call that does not return)
// is left behind, detached: its body shares ownership of everything it uses,
// so it may outlive its owner, and it ends with the process at the latest.
#pragma once

#include <windows.h>

#include <memory>
#include <system_error>
#include <thread>
#include <utility>

#include "base/Handles.h"

namespace krn {

class BoundedThread {
public:
    // Runs `body` on a new thread; started() tells whether it could be made.
    template <typename Body>
    explicit BoundedThread(Body&& body)
        : done_(std::make_shared<base::unique_kernel_handle>(CreateEventW(nullptr, TRUE, FALSE, nullptr)))
    {
        if (!*done_)
            return;
        try {
            thread_ = std::thread([done = done_, body = std::forward<Body>(body)]() mutable {
                body();
                SetEvent(done->get());
            });
        } catch (const std::system_error&) {
            done_.reset();
        }
    }
    ~BoundedThread() { Join(0); }
    BoundedThread(const BoundedThread&) = delete;
    BoundedThread& operator=(const BoundedThread&) = delete;

    bool started() const { return thread_.joinable(); }

    // True when the thread ended within `timeoutMs` (or never ran); false
    // when it was left behind.
    bool Join(DWORD timeoutMs)
    {
        if (!thread_.joinable())
            return true;
        if (WaitForSingleObject(done_->get(), timeoutMs) == WAIT_OBJECT_0) {
            thread_.join();
            return true;
        }
        thread_.detach();
        return false;
    }

private:
    std::shared_ptr<base::unique_kernel_handle> done_;
    std::thread thread_;
};

} // namespace krn
