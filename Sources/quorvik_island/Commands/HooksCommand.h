#pragma once

#include <span>
#include <string>

/// `quorvik-island hooks`: our hooks in the settings of coding agents.
namespace quorvik::HooksCommand {

/// Takes the words after "hooks" and returns the exit status. Throws UsageError.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::HooksCommand
