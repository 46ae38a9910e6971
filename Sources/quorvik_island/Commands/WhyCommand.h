#pragma once

#include <span>
#include <string>

/// `quorvik-island why`: why something is shown, or is not.
namespace quorvik::WhyCommand {

/// Takes the words after "why" and returns the exit status. Throws UsageError, and ControlError and NoApp.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::WhyCommand
