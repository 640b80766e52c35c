// Entry point of "KRN Watcher.exe".
#include <windows.h>

#include "Kestrune.h"
#include "server/Registration.h"
#include "server/ServerCommandLine.h"
#include "watcher/WatcherControl.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR commandTail, int)
{
    const server::ServerClass watcherClass{CLSID_WatcherControl, L"Kestrune Watcher Control"};
    switch (server::ParseServerCommandLine(commandTail).command) {
    case server::ServerCommand::Register:
        return server::RegisterServer(watcherClass);
    case server::ServerCommand::Unregister:
        return server::UnregisterServer(watcherClass);
    case server::ServerCommand::Run:
        break;
    }
    return krn::RunWatcher();
}
