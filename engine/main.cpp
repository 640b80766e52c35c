// Entry point of "KRN Size Engine.exe".
#include <windows.h>

#include "engine/SizeEngine.h"
#include "server/RunServer.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR commandTail, int)
{
    return server::RunServer<krn::SizeEngine>(commandTail, krn::kSizeEngineServer);
}
