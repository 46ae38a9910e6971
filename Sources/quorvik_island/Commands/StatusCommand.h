#pragma once

#include <span>
#include <string>

/// `quorvik-island status`: how the app is.
namespace quorvik::StatusCommand {

/// Takes the words after "status" and returns the exit status. Throws UsageError, and ControlError and NoApp.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::StatusCommand
