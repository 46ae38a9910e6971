#pragma once

#include <span>
#include <string>

/// `quorvik-island statusline`: our status line in Claude Code's settings.
namespace quorvik::StatusLineCommand {

/// Takes the words after "statusline" and returns the exit status. Throws UsageError.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::StatusLineCommand
