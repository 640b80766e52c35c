#include "acl/Hyperlink.h"

#include "acl/Handles.h"

#include <commctrl.h>
#include <shellapi.h>

#include <vector>

namespace acl {

namespace {

// Shared by every subclassed control of the process. Only the count is
// touched with interlocked operations; the atom is used on the GUI thread.
constexpr wchar_t kAtomName[] = L"{D41FEDDC-0584-4030-B19E-2E4AFFC434CD}";
ATOM g_atom = 0;
const wchar_t* g_propertyName = nullptr;
volatile LONG g_userCount = 0;

} // namespace

ATOM SubclassControlBase::Atom()
{
    return g_atom;
}

LONG SubclassControlBase::UserCount()
{
    return g_userCount;
}

SubclassControlBase::~SubclassControlBase()
{
    Unsubclass();
}

DWORD SubclassControlBase::Attach(HWND control, LONG_PTR addStyle)
{
    if (previousProc_)
        Detach();
    if (g_atom == 0) {
        const ATOM atom = GlobalAddAtomW(kAtomName);
        if (atom == 0)
            return GetLastError();
        g_atom = atom;
        g_propertyName = MAKEINTATOM(atom);
    }
    InterlockedIncrement(&g_userCount);
    if (addStyle != 0)
        SetWindowLongPtrW(control, GWL_STYLE, GetWindowLongPtrW(control, GWL_STYLE) | addStyle);
    SetPropW(control, g_propertyName, this);
    // On failure the property and the raised count stay, as they always have.
    const auto previous = reinterpret_cast<WNDPROC>(
        SetWindowLongPtrW(control, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&SharedWindowProc)));
    if (!previous)
        return GetLastError();
    previousProc_ = previous;
    window_ = control;
    return ERROR_SUCCESS;
}

DWORD SubclassControlBase::Detach()
{
    Unsubclass();
    return ERROR_SUCCESS;
}

bool SubclassControlBase::Unsubclass()
{
    if (!previousProc_)
        return false;
    SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(previousProc_));
    RemovePropW(window_, g_propertyName);
    previousProc_ = nullptr;
    if (InterlockedDecrement(&g_userCount) == 0) {
        // GlobalDeleteAtom answers 0 on success, so the next Attach adds it again.
        g_atom = GlobalDeleteAtom(g_atom);
    }
    return true;
}

LRESULT SubclassControlBase::CallPrevious(HWND window, UINT message, WPARAM wParam, LPARAM lParam) const
{
    return CallWindowProcW(previousProc_, window, message, wParam, lParam);
}

LRESULT CALLBACK SubclassControlBase::SharedWindowProc(HWND window, UINT message, WPARAM wParam,
                                                       LPARAM lParam) noexcept
{
    auto* object = static_cast<SubclassControlBase*>(GetPropW(window, g_propertyName));
    if (!object)
        return 0;
    return object->WindowProc(window, message, wParam, lParam);
}

Hyperlink_Settings::Hyperlink_Settings() : background(GetSysColor(COLOR_BTNFACE)) {}

Hyperlink::Hyperlink() = default;

Hyperlink::~Hyperlink()
{
    Hyperlink::Detach();
}

DWORD Hyperlink::Detach()
{
    if (Unsubclass())
        CancelTracking();
    hovering_ = false;
    return ERROR_SUCCESS;
}

void Hyperlink::CancelTracking()
{
    track_.dwFlags = TME_CANCEL;
    _TrackMouseEvent(&track_);
}

DWORD Hyperlink::Init(uint32_t mode, HWND control, HWND parent, const wchar_t* target, Hyperlink_Settings* settings)
{
    return InitCommon(mode, control, parent, target, settings);
}

DWORD Hyperlink::Init(uint32_t mode, HWND control, HWND parent, uint32_t commandId, Hyperlink_Settings* settings)
{
    return InitCommon(mode, control, parent, reinterpret_cast<const wchar_t*>(static_cast<uintptr_t>(commandId)),
                      settings);
}

DWORD Hyperlink::InitCommon(uint32_t mode, HWND control, HWND parent, const wchar_t* targetOrId,
                            Hyperlink_Settings* settings)
{
    Detach();
    settings_ = settings;
    mode_ = mode;
    parent_ = parent;
    // A link whose subclassing failed simply does not react.
    Attach(control, SS_NOTIFY);
    if (mode & (kOpen | kOpenWithParent)) {
        target_ = std::wstring(targetOrId ? targetOrId : L"");
        commandId_ = 0;
    } else if (mode & kCommand) {
        target_.reset();
        commandId_ = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(targetOrId));
    } else {
        return ERROR_INVALID_PARAMETER;
    }
    track_ = {};
    track_.cbSize = sizeof(track_);
    track_.hwndTrack = control;
    track_.dwHoverTime = HOVER_DEFAULT;
    return ERROR_SUCCESS;
}

LRESULT Hyperlink::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    // Attached without Init: nothing to paint with yet.
    if (!settings_)
        return CallPrevious(window, message, wParam, lParam);
    switch (message) {
    case WM_SETTEXT:
        CallPrevious(window, message, wParam, lParam);
        InvalidateRect(window, nullptr, FALSE);
        return 0;
    case WM_PAINT:
        Paint();
        return 0;
    case WM_ERASEBKGND:
        return 1;
    case WM_SETCURSOR:
        if (!settings_->cursor)
            return 0;
        SetCursor(settings_->cursor.get());
        return 1;
    case WM_MOUSEMOVE:
        OnMouseMove();
        return 0;
    case WM_LBUTTONUP:
        OnClick();
        return 0;
    case WM_MOUSELEAVE:
        OnMouseLeave();
        return 0;
    default:
        return CallPrevious(window, message, wParam, lParam);
    }
}

void Hyperlink::OnMouseMove()
{
    if (hovering_)
        return;
    track_.dwFlags = TME_LEAVE;
    _TrackMouseEvent(&track_);
    hovering_ = true;
    InvalidateRect(window(), nullptr, FALSE);
}

void Hyperlink::OnMouseLeave()
{
    CancelTracking();
    hovering_ = false;
    InvalidateRect(window(), nullptr, FALSE);
}

void Hyperlink::OnClick()
{
    if (mode_ & kCommand)
        SendMessageW(parent_, WM_COMMAND, commandId_, reinterpret_cast<LPARAM>(window()));
    // Shell failures are not reported.
    if ((mode_ & kOpen) && target_)
        ShellExecuteW(nullptr, L"open", target_->c_str(), nullptr, nullptr, SW_SHOW);
    if ((mode_ & kOpenWithParent) && target_)
        ShellExecuteW(parent_, L"open", target_->c_str(), nullptr, nullptr, SW_SHOW);
}

void Hyperlink::Paint()
{
    const HWND control = window();
    const int length = static_cast<int>(SendMessageW(control, WM_GETTEXTLENGTH, 0, 0));
    std::vector<wchar_t> text(static_cast<size_t>(length) + 1, L'\0');
    const int copied = static_cast<int>(
        SendMessageW(control, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data())));

    HFONT font = settings_->font ? settings_->font.get() : reinterpret_cast<HFONT>(SendMessageW(control, WM_GETFONT, 0, 0));
    if (!font)
        font = static_cast<HFONT>(GetStockObject(SYSTEM_FONT));
    unique_hfont underlined;
    COLORREF color = settings_->textColor;
    if (hovering_) {
        color = settings_->hoverColor;
        LOGFONTW lf{};
        if ((settings_->flags & Hyperlink_Settings::kUnderline) && GetObjectW(font, sizeof(lf), &lf)) {
            lf.lfUnderline = 1;
            underlined.reset(CreateFontIndirectW(&lf));
            font = underlined.get();
        }
    }

    PaintDc paint(control);
    RECT client{};
    GetClientRect(control, &client);
    const unique_hbrush background(CreateSolidBrush(settings_->background));
    FillRect(paint.get(), &client, background.get());
    SetTextColor(paint.get(), color);
    SetBkMode(paint.get(), TRANSPARENT);
    SelectGuard selectFont(paint.get(), font);
    TextOutW(paint.get(), 1, 0, text.data(), copied);
}

} // namespace acl
