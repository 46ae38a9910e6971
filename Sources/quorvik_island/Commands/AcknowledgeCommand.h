#pragma once

#include <span>
#include <string>

/// `quorvik-island acknowledge`: the user has seen it.
namespace quorvik::AcknowledgeCommand {

/// Takes the words after "acknowledge" and returns the exit status. Throws UsageError, and ControlError and
/// NoApp.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::AcknowledgeCommand
