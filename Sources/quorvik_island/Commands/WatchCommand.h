#pragma once

#include <span>
#include <string>

/// `quorvik-island watch`: what the island shows, a line for every change.
namespace quorvik::WatchCommand {

/// Takes the words after "watch" and returns the exit status. Throws UsageError.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::WatchCommand
