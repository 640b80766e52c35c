// Entry point of "KRN Properties.exe": the shell's start-up steps around the
// main window's run.
#include "app/Startup.h"
#include "ui/main/MainWindowRun.h"

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR commandTail, int show)
{
    return krn::ProgramMain(instance, commandTail, show, &krn::RunMainWindow);
}
