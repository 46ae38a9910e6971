#pragma once

#include <span>
#include <string>

/// `quorvik shell`: what the zsh integration reports about long or failed commands.
namespace quorvik::ShellCommand {

/// Takes the words after "shell":
///
///     start|end --pid <n> --start <seconds> [--exit <n>] [--cwd <path>] -- <command line>
///
/// The process number is the shell's, the start the command's, in seconds since 1970; "end" needs the exit
/// status. Unless the filter passes over the command, the shell's session record (one per shell, "sh-<pid>")
/// then tells how it is doing. "start" comes from a background job and may arrive after the "end" of the same
/// command: it then changes nothing. Whatever does not make sense is passed over in silence, and so is every
/// failure: this runs behind somebody's prompt.
void runShellEvent(std::span<const std::string> arguments);

} // namespace quorvik::ShellCommand
