#pragma once

#include <string>
#include <vector>

/// `quorvik run`: a command under supervision.
namespace quorvik::RunCommand {

/// Runs the command (its name and arguments, at least one word) as a shell would and returns its status: its
/// exit code, 128 + the number of the signal that killed it, or 127 with one line on standard error when it
/// cannot be started. Its output passes through unchanged and goes to a private log; a session record of
/// source `build` tells how it is doing, and what went wrong. Neither a full disk nor an unreadable store
/// changes what the command does or returns, or what the log holds already. When our own standard output or
/// error takes nothing more, for another reason than that its reader went away, one line says so at the end:
/// "output was lost: <the system's reason>".
///
/// Threads may still be copying output when this returns (see SupervisedProcess::wait): leave with
/// std::_Exit.
int run(const std::vector<std::string>& command);

} // namespace quorvik::RunCommand
