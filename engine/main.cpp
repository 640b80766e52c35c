// Entry point of "KRN Size Engine.exe".
#include <windows.h>

#include "Kestrune.h"
#include "engine/SizeEngine.h"
#include "server/Registration.h"
#include "server/ServerCommandLine.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR commandTail, int)
{
    const server::ServerClass engineClass{CLSID_SizeEngine, L"Kestrune Size Engine"};
    switch (server::ParseServerCommandLine(commandTail).command) {
    case server::ServerCommand::Register:
        return server::RegisterServer(engineClass);
    case server::ServerCommand::Unregister:
        return server::UnregisterServer(engineClass);
    case server::ServerCommand::Run:
        break;
    }
    return krn::RunSizeEngine();
}
