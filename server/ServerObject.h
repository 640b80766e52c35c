// The COM objects of a local server and the class factory that makes them.
//
// Ownership: a server object owns itself through its reference count; the
// factory creates it with its first reference, and the last Release deletes
// it. While it exists it holds a lock on the server module.
#pragma once

#include <windows.h>
#include <unknwn.h>

#include <atomic>

#include "base/Com.h"
#include "server/ServerModule.h"

namespace server {

// COM objects are released, never deleted through an interface pointer: the
// interfaces have no virtual destructor, and need none.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// Implements IUnknown for `Interfaces...` (each derived from IUnknown; the
// first also answers for IUnknown). Every method of a derived class is
// noexcept and reports failures as HRESULTs.
template <typename... Interfaces>
class ServerObject : public Interfaces... {
public:
    ServerObject(const ServerObject&) = delete;
    ServerObject& operator=(const ServerObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) noexcept override
    {
        if (!out)
            return E_POINTER;
        *out = nullptr;
        if (IsEqualIID(iid, IID_IUnknown))
            *out = static_cast<First*>(this);
        else
            (Offer<Interfaces>(iid, out) || ...);
        if (!*out)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() noexcept override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() noexcept override
    {
        const ULONG left = --references_;
        if (left == 0)
            delete this;
        return left;
    }

protected:
    explicit ServerObject(ServerModule& module) noexcept : module_(module) { module_.Lock(); }
    virtual ~ServerObject() { module_.Unlock(); }

    ServerModule& module() const noexcept { return module_; }

private:
    template <typename Interface>
    bool Offer(REFIID iid, void** out) noexcept
    {
        if (!IsEqualIID(iid, __uuidof(Interface)))
            return false;
        *out = static_cast<Interface*>(this);
        return true;
    }

    template <typename T, typename...>
    struct FirstOf {
        using type = T;
    };
    using First = typename FirstOf<Interfaces...>::type;

    ServerModule& module_;
    std::atomic<ULONG> references_{1};
};

// Makes `Object`s, each constructed from the module and the `Object::Context`
// it serves. The factory is not counted: it lives, on the server's stack, for
// as long as its class is registered.
template <typename Object>
class ClassFactory final : public IClassFactory {
public:
    using Context = typename Object::Context;

    ClassFactory(ServerModule& module, Context& context) noexcept : module_(module), context_(context) {}
    ClassFactory(const ClassFactory&) = delete;
    ClassFactory& operator=(const ClassFactory&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) noexcept override
    {
        if (!out)
            return E_POINTER;
        *out = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IClassFactory) ? this : nullptr;
        return *out ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() noexcept override { return 2; }
    ULONG STDMETHODCALLTYPE Release() noexcept override { return 1; }

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) noexcept override
    {
        if (!out)
            return E_POINTER;
        *out = nullptr;
        if (outer)
            return CLASS_E_NOAGGREGATION;
        // Windows then starts a new copy of the server for the client.
        if (module_.ending())
            return CO_E_SERVER_STOPPING;
        // The object's first reference is this one; a failed query deletes it.
        auto object = base::com_ptr<Object>::attach(new Object(module_, context_));
        return object->QueryInterface(iid, out);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) noexcept override
    {
        if (lock)
            module_.Lock();
        else
            module_.Unlock();
        return S_OK;
    }

private:
    ServerModule& module_;
    Context& context_;
};

#pragma GCC diagnostic pop

} // namespace server
