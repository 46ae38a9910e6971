#pragma once

#include <span>
#include <string>

/// `quorvik-island` without a command: the island, live in this terminal.
namespace quorvik::LiveCommand {

/// Takes all words, options only, and returns the exit status. Throws UsageError, and std::runtime_error when
/// the terminal cannot be used.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::LiveCommand
