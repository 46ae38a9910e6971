#pragma once

#include <span>
#include <string>

/// `quorvik-island signals`: what the app looks at by itself, and what that costs.
namespace quorvik::SignalsCommand {

/// Takes the words after "signals" and returns the exit status. Throws UsageError, ControlError, NoApp and
/// RecordError.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::SignalsCommand
