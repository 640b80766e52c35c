// Entry point of "KRN Properties.exe".
#include "app/Startup.h"

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR commandTail, int show)
{
    return krn::ProgramMain(instance, commandTail, show);
}
