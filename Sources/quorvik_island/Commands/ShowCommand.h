#pragma once

#include <span>
#include <string>

/// `quorvik-island show`: what the island shows right now.
namespace quorvik::ShowCommand {

/// Takes the words after "show" and returns the exit status. Throws UsageError, and FileError when the
/// sessions cannot be listed.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::ShowCommand
