#pragma once

#include <span>
#include <string>

/// `quorvik-island alerts`: the alerts that are shown.
namespace quorvik::AlertsCommand {

/// Takes the words after "alerts" and returns the exit status. Throws UsageError, and ControlError and NoApp.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::AlertsCommand
