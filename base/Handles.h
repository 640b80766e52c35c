// Move-only owners for Windows handles, usable by every layer: the
// configuration code, the toolkit and the windows. A handle that is borrowed
// (a bitmap the caller keeps, a window's DC it did not create) stays a plain
// handle; one that the design may lend or give carries its flag with it.
#pragma once

#include <windows.h>

#include <utility>

namespace base {

// A traits class may declare `static void track(pointer)` to be told of
// every handle an owner takes over (the leak tests of GDI objects use it).
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

    // Tells the traits of a handle that an owner takes over, when they listen.
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
struct Module : NullIsInvalid<HMODULE, FreeLibrary> {};
struct EventSource : NullIsInvalid<HANDLE, DeregisterEventSource> {};

} // namespace handle_traits

using unique_kernel_handle = unique_handle<handle_traits::Kernel>;
using unique_file = unique_handle<handle_traits::File>;
using unique_hkey = unique_handle<handle_traits::Key>;
using unique_hmodule = unique_handle<handle_traits::Module>;
using unique_event_source = unique_handle<handle_traits::EventSource>;

} // namespace base
