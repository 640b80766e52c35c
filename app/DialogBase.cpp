#include "app/DialogBase.h"

namespace krn {
namespace {

// The messages whose result a dialog procedure returns itself instead of
// leaving it in DWLP_MSGRESULT.
bool ReturnsDirectly(UINT message)
{
    switch (message) {
    case WM_CHARTOITEM:
    case WM_COMPAREITEM:
    case WM_CTLCOLORMSGBOX:
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORLISTBOX:
    case WM_CTLCOLORBTN:
    case WM_CTLCOLORDLG:
    case WM_CTLCOLORSCROLLBAR:
    case WM_CTLCOLORSTATIC:
    case WM_INITDIALOG:
    case WM_QUERYDRAGICON:
    case WM_VKEYTOITEM:
        return true;
    }
    return false;
}

} // namespace

// A derived dialog destroys its window in its own destructor when it wants to
// see the last messages; by the time this runs only the base is left, so the
// window is cut loose first.
DialogBase::~DialogBase()
{
    if (window_ && IsWindow(window_)) {
        SetWindowLongPtrW(window_, DWLP_USER, 0);
        DestroyWindow(window_);
    }
}

HWND DialogBase::CreateModeless(UINT resourceId, HWND owner)
{
    AppModule& module = Module();
    module.AddBinding(&binding_, this);
    HWND created = CreateDialogParamW(module.instance(), MAKEINTRESOURCEW(resourceId), owner, StartDialogProc, 0);
    module.CancelBinding(&binding_);
    return created;
}

INT_PTR DialogBase::RunModal(UINT resourceId, HWND owner)
{
    AppModule& module = Module();
    module.AddBinding(&binding_, this);
    const INT_PTR result =
        DialogBoxParamW(module.instance(), MAKEINTRESOURCEW(resourceId), owner, StartDialogProc, 0);
    module.CancelBinding(&binding_);
    return result;
}

// The first message of a new dialog: the object waiting on this thread owns
// the window from now on, and later messages go straight to it.
INT_PTR CALLBACK DialogBase::StartDialogProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept
{
    auto* dialog = static_cast<DialogBase*>(Module().TakeBinding());
    if (!dialog)
        return FALSE;
    dialog->window_ = window;
    SetWindowLongPtrW(window, DWLP_USER, reinterpret_cast<LONG_PTR>(dialog));
    SetWindowLongPtrW(window, DWLP_DLGPROC, reinterpret_cast<LONG_PTR>(&DialogBase::RouteDialogProc));
    return dialog->Dispatch(message, wParam, lParam);
}

INT_PTR CALLBACK DialogBase::RouteDialogProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept
{
    auto* dialog = reinterpret_cast<DialogBase*>(GetWindowLongPtrW(window, DWLP_USER));
    return dialog ? dialog->Dispatch(message, wParam, lParam) : FALSE;
}

INT_PTR DialogBase::Dispatch(UINT message, WPARAM wParam, LPARAM lParam)
{
    HWND window = window_;
    const std::optional<LRESULT> result = OnMessage(message, wParam, lParam);
    if (message == WM_NCDESTROY) {
        SetWindowLongPtrW(window, DWLP_USER, 0);
        window_ = nullptr;
    }
    if (!result)
        return FALSE;
    if (ReturnsDirectly(message))
        return *result;
    SetWindowLongPtrW(window, DWLP_MSGRESULT, *result);
    return TRUE;
}

} // namespace krn
