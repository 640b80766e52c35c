// Binds a dialog object to its window, modal or modeless, and routes every
// message of the window, the first one included, to the object's OnMessage.
#pragma once

#include "app/AppModule.h"

#include <windows.h>

#include <optional>

namespace krn {

class DialogBase {
public:
    DialogBase() = default;
    DialogBase(const DialogBase&) = delete;
    DialogBase& operator=(const DialogBase&) = delete;
    // Destroys the window if it still exists.
    virtual ~DialogBase();

    // A modeless dialog from the module's template `resourceId`; null on failure.
    HWND CreateModeless(UINT resourceId, HWND owner);
    // A modal dialog: EndDialog's result, or -1 when it could not be created.
    INT_PTR RunModal(UINT resourceId, HWND owner);

    HWND window() const { return window_; }

protected:
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

    HWND window_ = nullptr;
    PendingBinding binding_;
};

} // namespace krn
