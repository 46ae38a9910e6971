#pragma once

#include <span>
#include <string>

/// `quorvik-island requests`: what agents wait for.
namespace quorvik::RequestsCommand {

/// Takes the words after "requests" and returns the exit status. Throws UsageError, and ControlError and
/// NoApp.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::RequestsCommand
