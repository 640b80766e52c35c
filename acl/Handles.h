// The toolkit's owners for window-system handles: GDI objects (reported to a
// leak hook the tests can set), memory DCs, menus, icons, cursors and windows,
// and scoped guards for selecting into a DC, GetDC and BeginPaint.
#pragma once

#include "base/Handles.h"

#include <windows.h>

namespace acl {

using base::flagged_handle;
using base::unique_handle;

// Opt-in hook for leak tests: when set, it is told of every GDI object and
// memory DC that an owner below takes over. Off (null) by default.
inline void (*gdiOwnedHook)(HGDIOBJ object) = nullptr;

namespace handle_traits {

using base::handle_traits::NullIsInvalid;

// GDI objects and memory DCs are reported to the leak hook.
struct GdiTracked {
    static void track(HGDIOBJ h) noexcept
    {
        if (gdiOwnedHook)
            gdiOwnedHook(h);
    }
};
template <typename T>
struct GdiObject : GdiTracked {
    using pointer = T;
    static constexpr pointer invalid() noexcept { return nullptr; }
    static void close(pointer h) noexcept { DeleteObject(h); }
};
struct MemoryDc : NullIsInvalid<HDC, DeleteDC>, GdiTracked {};
struct Menu : NullIsInvalid<HMENU, DestroyMenu> {};
struct Icon : NullIsInvalid<HICON, DestroyIcon> {};
struct Cursor : NullIsInvalid<HCURSOR, DestroyCursor> {};
struct Window : NullIsInvalid<HWND, DestroyWindow> {};

} // namespace handle_traits

using unique_hfont = unique_handle<handle_traits::GdiObject<HFONT>>;
using unique_hbrush = unique_handle<handle_traits::GdiObject<HBRUSH>>;
using unique_hpen = unique_handle<handle_traits::GdiObject<HPEN>>;
using unique_hbitmap = unique_handle<handle_traits::GdiObject<HBITMAP>>;
using unique_hrgn = unique_handle<handle_traits::GdiObject<HRGN>>;
using unique_hdc = unique_handle<handle_traits::MemoryDc>;
using unique_hmenu = unique_handle<handle_traits::Menu>;
using unique_hicon = unique_handle<handle_traits::Icon>;
using unique_hcursor = unique_handle<handle_traits::Cursor>;
using unique_hwnd = unique_handle<handle_traits::Window>;

// A font, brush or bitmap that a flag says is owned or lent.
using flagged_hfont = flagged_handle<handle_traits::GdiObject<HFONT>>;
using flagged_hbrush = flagged_handle<handle_traits::GdiObject<HBRUSH>>;
using flagged_hbitmap = flagged_handle<handle_traits::GdiObject<HBITMAP>>;
using flagged_hicon = flagged_handle<handle_traits::Icon>;
using flagged_hcursor = flagged_handle<handle_traits::Cursor>;

// Selects an object into a DC for the guard's lifetime.
class SelectGuard {
public:
    SelectGuard(HDC dc, HGDIOBJ object) noexcept : dc_(dc), old_(SelectObject(dc, object)) {}
    SelectGuard(const SelectGuard&) = delete;
    SelectGuard& operator=(const SelectGuard&) = delete;
    ~SelectGuard()
    {
        if (old_ && old_ != HGDI_ERROR)
            SelectObject(dc_, old_);
    }

private:
    HDC dc_;
    HGDIOBJ old_;
};

// GetDC/ReleaseDC; keeps the window, which ReleaseDC needs.
class WindowDc {
public:
    explicit WindowDc(HWND window) noexcept : window_(window), dc_(GetDC(window)) {}
    WindowDc(const WindowDc&) = delete;
    WindowDc& operator=(const WindowDc&) = delete;
    ~WindowDc()
    {
        if (dc_)
            ReleaseDC(window_, dc_);
    }
    HDC get() const noexcept { return dc_; }
    explicit operator bool() const noexcept { return dc_ != nullptr; }

private:
    HWND window_;
    HDC dc_;
};

class PaintDc {
public:
    explicit PaintDc(HWND window) noexcept : window_(window) { dc_ = BeginPaint(window, &ps_); }
    PaintDc(const PaintDc&) = delete;
    PaintDc& operator=(const PaintDc&) = delete;
    ~PaintDc() { EndPaint(window_, &ps_); }
    HDC get() const noexcept { return dc_; }
    const PAINTSTRUCT& paint() const noexcept { return ps_; }

private:
    HWND window_;
    PAINTSTRUCT ps_{};
    HDC dc_;
};

} // namespace acl
