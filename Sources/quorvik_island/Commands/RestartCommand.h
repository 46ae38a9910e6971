#pragma once

#include <span>
#include <string>

/// `quorvik-island restart`: ends the app and starts it again.
namespace quorvik::RestartCommand {

/// Takes the words after "restart" and returns the exit status. Throws UsageError, and ControlError and
/// NoApp.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::RestartCommand
