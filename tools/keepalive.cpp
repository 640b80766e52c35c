// Holds the Wine desktop open so that each test process does not pay for
// starting it again.
#include <windows.h>

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int)
{
    GetDesktopWindow();
    Sleep(INFINITE);
    return 0;
}
