// Entry point of "KRN Watcher.exe".
#include <windows.h>

#include "server/RunServer.h"
#include "watcher/WatcherControl.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR commandTail, int)
{
    return server::RunServer<krn::WatcherControl>(commandTail, krn::kWatcherServer);
}
