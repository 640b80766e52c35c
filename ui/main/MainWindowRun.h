// How the program's main window runs: created as a modeless dialog, placed
// where the user left it, shown, and served by the thread's message loop
// until it closes.
#pragma once

namespace krn {

// Creates the main window and pumps its messages until it closes; with a
// command-line tail only the folder dialog runs and the result is 0.
int RunMainWindow(const wchar_t* commandTail, int show);

} // namespace krn
