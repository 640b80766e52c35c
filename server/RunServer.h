// The one entry of every local server exe of the product: /RegServer,
// /UnregServer, or the serve sequence.
#pragma once

#include <optional>
#include <utility>

#include "server/Registration.h"
#include "server/ServerCommandLine.h"
#include "server/ServerModule.h"
#include "server/ServerObject.h"

namespace server {

// What a server serves: the context its objects share, and the factory that
// makes them from it.
template <typename Object>
struct Served {
    template <typename... Args>
    explicit Served(ServerModule& module, Args&&... args)
        : context(std::forward<Args>(args)...), factory(module, context)
    {
    }
    typename Object::Context context;
    ClassFactory<Object> factory;
};

// Serves `Object` until the server ends, with its context made from `args`.
// In order: the module; the single-instance decision; COM; the context; and
// only then the class object, visible to activations. At the end the class
// object goes first, then COM, whose uninitialisation releases what clients
// left (so the context the objects use outlives it), then the context, and
// the module last.
template <typename Object, typename... Args>
int RunServer(const wchar_t* commandTail, const ServerTraits& traits, Args&&... args)
{
    const ServerCommandLine line = ParseServerCommandLine(commandTail);
    const ServerClass serverClass{traits.clsid, traits.friendlyName};
    switch (line.command) {
    case ServerCommand::Register:
        return RegisterServer(serverClass);
    case ServerCommand::Unregister:
        return UnregisterServer(serverClass);
    case ServerCommand::Run:
        break;
    }
    ServerModule module(traits);
    if (!module.ClaimInstance(line.embedding))
        return traits.alreadyRunningExit;
    std::optional<Served<Object>> served;
    const HRESULT com = CoInitializeEx(nullptr, traits.apartment);
    if (FAILED(com))
        return com;
    served.emplace(module, std::forward<Args>(args)...);
    const int exitCode = module.Serve(&served->factory);
    if (module.MayUninitialize())
        CoUninitialize();
    // A context whose thread is stuck on storage (an offline share may answer
    // in minutes, or never) is still used by that thread when it wakes: the
    // process ends here, without the destructors that would free it.
    if constexpr (requires(typename Object::Context& context) { context.Stop(DWORD{}); })
        if (!served->context.Stop(traits.stopMs))
            ExitProcess(static_cast<UINT>(exitCode));
    return exitCode;
}

} // namespace server
