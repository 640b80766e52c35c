// Binds a dialog object to its window, modal or modeless, and routes every
// message of the window, the first one included, to the object's OnMessage.
#pragma once

#include "app/AppModule.h"
#include "app/MessageLoop.h"

#include <windows.h>

#include <optional>

namespace krn {

class DialogBase {
public:
    DialogBase() = default;
    DialogBase(const DialogBase&) = delete;
    DialogBase& operator=(const DialogBase&) = delete;
    // Leaves the message loop, then destroys the window if it still exists. A
    // derived dialog that wants to see its own WM_DESTROY destroys the window
    // in its own destructor; this one only makes sure nothing is left behind.
    virtual ~DialogBase();

    // A modeless dialog from the module's template `resourceId`; null on
    // failure, and when the dialog closed itself while it initialised.
    HWND CreateModeless(UINT resourceId, HWND owner);
    // A modal dialog: EndDialog's result, or -1 when it could not be created.
    INT_PTR RunModal(UINT resourceId, HWND owner);

    HWND window() const { return window_; }

protected:
    // Makes `filter` and `idle` (either may be null) part of `loop` until the
    // window is destroyed or the object goes, whichever comes first, so the
    // loop never calls into a dialog that is gone.
    void JoinMessageLoop(MessageLoop* loop, MessageFilter* filter, IdleHandler* idle);

    // The dialog's message map. nullopt leaves the message to the dialog
    // manager; a value is the message's result, delivered the way the message
    // needs it (returned directly or through DWLP_MSGRESULT).
    virtual std::optional<LRESULT> OnMessage(UINT message, WPARAM wParam, LPARAM lParam) = 0;

private:
    // noexcept: an exception must not unwind through the dialog manager; it
    // ends in terminate, which the crash reporter turns into its crash report.
    static INT_PTR CALLBACK StartDialogProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
    static INT_PTR CALLBACK RouteDialogProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
    INT_PTR Dispatch(UINT message, WPARAM wParam, LPARAM lParam);
    void LeaveMessageLoop() noexcept;

    HWND window_ = nullptr;
    PendingBinding binding_;
    MessageLoop* loop_ = nullptr;
    MessageFilter* filter_ = nullptr;
    IdleHandler* idle_ = nullptr;
};

} // namespace krn
