#pragma once

#include <span>
#include <string>

/// `quorvik-island usage`: the limits of agents' accounts.
namespace quorvik::UsageCommand {

/// Takes the words after "usage" and returns the exit status. Throws UsageError.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::UsageCommand
