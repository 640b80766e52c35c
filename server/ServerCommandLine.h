// What the command line asks of a local server: register, unregister, or run
// (by hand, or started by COM with -Embedding).
#pragma once

namespace server {

enum class ServerCommand { Run, Register, Unregister };

struct ServerCommandLine {
    ServerCommand command = ServerCommand::Run;
    bool embedding = false;  // started by COM to serve an activation
};

// The switches may start with '/' or '-' and are matched without regard to
// case; anything else on the line is ignored.
ServerCommandLine ParseServerCommandLine(const wchar_t* tail);

} // namespace server
