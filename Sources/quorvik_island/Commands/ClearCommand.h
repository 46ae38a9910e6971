#pragma once

#include <span>
#include <string>

/// `quorvik-island clear`: forgets what is over.
namespace quorvik::ClearCommand {

/// Takes the words after "clear" and returns the exit status. Throws UsageError, and FileError when the
/// sessions cannot be listed.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::ClearCommand
