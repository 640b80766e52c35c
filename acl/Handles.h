// Owners for the Windows handles the program uses. Each owner is move-only, so
// a handle is released exactly once; a handle that is borrowed (a bitmap the
// caller keeps, a window's DC it did not create) stays a plain handle.
#pragma once

#include <windows.h>
#include <oleauto.h>

#include <utility>

namespace acl {

// Opt-in hook for leak tests: when set, it is told of every GDI object and
// memory DC that an owner below takes over. Off (null) by default.
inline void (*gdiOwnedHook)(HGDIOBJ object) = nullptr;

template <typename Traits>
class unique_handle {
public:
    using pointer = typename Traits::pointer;

    unique_handle() noexcept = default;
    explicit unique_handle(pointer value) noexcept : value_(value) { track(value); }
    unique_handle(const unique_handle&) = delete;
    unique_handle& operator=(const unique_handle&) = delete;
    unique_handle(unique_handle&& other) noexcept : value_(other.release()) {}
    unique_handle& operator=(unique_handle&& other) noexcept
    {
        if (this != &other)
            reset(other.release());
        return *this;
    }
    ~unique_handle() { close(); }

    pointer get() const noexcept { return value_; }
    explicit operator bool() const noexcept { return value_ != Traits::invalid(); }

    pointer release() noexcept { return std::exchange(value_, Traits::invalid()); }
    void reset(pointer value = Traits::invalid()) noexcept
    {
        if (value_ != value) {
            close();
            value_ = value;
            track(value);
        }
    }
    // For functions that return a handle through a pointer argument.
    pointer* put() noexcept
    {
        reset();
        return &value_;
    }

    // Tells the leak hook of a handle that an owner takes over.
    static void track(pointer value) noexcept
    {
        if constexpr (requires { Traits::track(value); })
            if (value != Traits::invalid())
                Traits::track(value);
    }

private:
    void close() noexcept
    {
        if (value_ != Traits::invalid())
            Traits::close(value_);
    }

    pointer value_ = Traits::invalid();
};

// A handle that the design lends or gives, as a flag of its own says (a bitmap
// an item may own, a font a style may own). Closes only what it owns.
template <typename Traits>
class flagged_handle {
public:
    using pointer = typename Traits::pointer;

    flagged_handle() noexcept = default;
    flagged_handle(pointer value, bool owns) noexcept { reset(value, owns); }
    explicit flagged_handle(unique_handle<Traits>&& owned) noexcept { reset(owned.release(), true); }
    flagged_handle(const flagged_handle&) = delete;
    flagged_handle& operator=(const flagged_handle&) = delete;
    flagged_handle(flagged_handle&& other) noexcept
        : value_(std::exchange(other.value_, Traits::invalid())), owns_(std::exchange(other.owns_, false))
    {
    }
    flagged_handle& operator=(flagged_handle&& other) noexcept
    {
        if (this != &other) {
            close();
            value_ = std::exchange(other.value_, Traits::invalid());
            owns_ = std::exchange(other.owns_, false);
        }
        return *this;
    }
    ~flagged_handle() { close(); }

    pointer get() const noexcept { return value_; }
    bool owns() const noexcept { return owns_; }
    explicit operator bool() const noexcept { return value_ != Traits::invalid(); }

    // Closes the current handle when owned, then holds `value` with the flag.
    void reset(pointer value = Traits::invalid(), bool owns = false) noexcept
    {
        if (value_ != value)
            close();
        value_ = value;
        owns_ = owns;
        if (owns_)
            unique_handle<Traits>::track(value);
    }

private:
    void close() noexcept
    {
        if (owns_ && value_ != Traits::invalid())
            Traits::close(value_);
    }

    pointer value_ = Traits::invalid();
    bool owns_ = false;
};

namespace handle_traits {

template <typename T, BOOL(WINAPI* Close)(T)>
struct NullIsInvalid {
    using pointer = T;
    static constexpr pointer invalid() noexcept { return nullptr; }
    static void close(pointer h) noexcept { Close(h); }
};

struct Kernel : NullIsInvalid<HANDLE, CloseHandle> {};
struct File {
    using pointer = HANDLE;
    static pointer invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void close(pointer h) noexcept { CloseHandle(h); }
};
struct Key {
    using pointer = HKEY;
    static constexpr pointer invalid() noexcept { return nullptr; }
    static void close(pointer h) noexcept { RegCloseKey(h); }
};
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
struct Module : NullIsInvalid<HMODULE, FreeLibrary> {};

} // namespace handle_traits

using unique_kernel_handle = unique_handle<handle_traits::Kernel>;
using unique_file = unique_handle<handle_traits::File>;
using unique_hkey = unique_handle<handle_traits::Key>;
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
using unique_hmodule = unique_handle<handle_traits::Module>;

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

// OleInitialize/OleUninitialize, or CoInitializeEx/CoUninitialize.
class OleInit {
public:
    OleInit() noexcept : hr_(OleInitialize(nullptr)) {}
    OleInit(const OleInit&) = delete;
    OleInit& operator=(const OleInit&) = delete;
    ~OleInit()
    {
        if (SUCCEEDED(hr_))
            OleUninitialize();
    }
    HRESULT status() const noexcept { return hr_; }

private:
    HRESULT hr_;
};

class ComInit {
public:
    explicit ComInit(DWORD model = COINIT_APARTMENTTHREADED) noexcept : hr_(CoInitializeEx(nullptr, model)) {}
    ComInit(const ComInit&) = delete;
    ComInit& operator=(const ComInit&) = delete;
    ~ComInit()
    {
        if (SUCCEEDED(hr_))
            CoUninitialize();
    }
    HRESULT status() const noexcept { return hr_; }

private:
    HRESULT hr_;
};

// An owning COM interface pointer.
template <typename T>
class com_ptr {
public:
    com_ptr() noexcept = default;
    com_ptr(std::nullptr_t) noexcept {}
    // Takes over a reference the caller already holds.
    static com_ptr attach(T* p) noexcept
    {
        com_ptr result;
        result.p_ = p;
        return result;
    }
    com_ptr(const com_ptr& other) noexcept : p_(other.p_)
    {
        if (p_)
            p_->AddRef();
    }
    com_ptr(com_ptr&& other) noexcept : p_(std::exchange(other.p_, nullptr)) {}
    com_ptr& operator=(com_ptr other) noexcept
    {
        std::swap(p_, other.p_);
        return *this;
    }
    ~com_ptr() { reset(); }

    T* get() const noexcept { return p_; }
    T* operator->() const noexcept { return p_; }
    explicit operator bool() const noexcept { return p_ != nullptr; }
    void reset() noexcept
    {
        if (T* p = std::exchange(p_, nullptr))
            p->Release();
    }
    T* detach() noexcept { return std::exchange(p_, nullptr); }
    T** put() noexcept
    {
        reset();
        return &p_;
    }
    void** put_void() noexcept { return reinterpret_cast<void**>(put()); }

    template <typename U>
    HRESULT query(com_ptr<U>& out) const noexcept
    {
        if (!p_)
            return E_POINTER;
        return p_->QueryInterface(__uuidof(U), out.put_void());
    }

private:
    T* p_ = nullptr;
};

// An owned BSTR.
class unique_bstr {
public:
    unique_bstr() noexcept = default;
    explicit unique_bstr(const wchar_t* text) : b_(text ? SysAllocString(text) : nullptr) {}
    unique_bstr(const wchar_t* text, UINT length) : b_(SysAllocStringLen(text, length)) {}
    unique_bstr(const unique_bstr&) = delete;
    unique_bstr& operator=(const unique_bstr&) = delete;
    unique_bstr(unique_bstr&& other) noexcept : b_(std::exchange(other.b_, nullptr)) {}
    unique_bstr& operator=(unique_bstr&& other) noexcept
    {
        if (this != &other) {
            reset();
            b_ = std::exchange(other.b_, nullptr);
        }
        return *this;
    }
    ~unique_bstr() { reset(); }

    BSTR get() const noexcept { return b_; }
    UINT length() const noexcept { return SysStringLen(b_); }
    BSTR* put() noexcept
    {
        reset();
        return &b_;
    }
    BSTR release() noexcept { return std::exchange(b_, nullptr); }
    void reset() noexcept
    {
        if (b_)
            SysFreeString(std::exchange(b_, nullptr));
    }
    explicit operator bool() const noexcept { return b_ != nullptr; }

private:
    BSTR b_ = nullptr;
};

// An owned VARIANT, cleared on destruction.
class unique_variant {
public:
    unique_variant() noexcept { VariantInit(&v_); }
    unique_variant(const unique_variant&) = delete;
    unique_variant& operator=(const unique_variant&) = delete;
    ~unique_variant() { VariantClear(&v_); }

    VARIANT& get() noexcept { return v_; }
    const VARIANT& get() const noexcept { return v_; }
    VARIANT* put() noexcept
    {
        VariantClear(&v_);
        return &v_;
    }
    // A string variant holding a copy of `text`.
    static void SetString(unique_variant& v, const wchar_t* text)
    {
        VARIANT* p = v.put();
        p->vt = VT_BSTR;
        p->bstrVal = SysAllocString(text);
    }

private:
    VARIANT v_;
};

} // namespace acl
