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

// By the time this runs only the base is left: the loop must not reach the
// derived parts any more, and the window is cut loose before it goes, since
// its last messages could only reach a half-destroyed object.
DialogBase::~DialogBase()
{
    LeaveMessageLoop();
    if (window_ && IsWindow(window_)) {
        SetWindowLongPtrW(window_, DWLP_USER, 0);
        DestroyWindow(window_);
    }
}

void DialogBase::JoinMessageLoop(MessageLoop* loop, MessageFilter* filter, IdleHandler* idle)
{
    LeaveMessageLoop();
    if (!loop)
        return;
    if (filter)
        loop->AddMessageFilter(filter);
    if (idle)
        loop->AddIdleHandler(idle);
    loop_ = loop;
    filter_ = filter;
    idle_ = idle;
}

void DialogBase::LeaveMessageLoop() noexcept
{
    if (!loop_)
        return;
    if (filter_)
        loop_->RemoveMessageFilter(filter_);
    if (idle_)
        loop_->RemoveIdleHandler(idle_);
    loop_ = nullptr;
    filter_ = nullptr;
    idle_ = nullptr;
}

HWND DialogBase::CreateModeless(UINT resourceId, HWND owner)
{
    AppModule& module = Module();
    module.AddBinding(&binding_, this);
    HWND created = CreateDialogParamW(module.instance(), MAKEINTRESOURCEW(resourceId), owner, StartDialogProc, 0);
    module.CancelBinding(&binding_);
    // A dialog that closed itself while it initialised has no window to give.
    return created && IsWindow(created) ? created : nullptr;
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
        LeaveMessageLoop();
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
