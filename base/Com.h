// Owners for COM: the apartment, interface pointers, BSTRs and VARIANTs.
#pragma once

#include <windows.h>
#include <ole2.h>
#include <oleauto.h>

#include <cstddef>
#include <utility>

namespace base {

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

} // namespace base
