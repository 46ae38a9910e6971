#pragma once

#include <span>
#include <string>

/// `quorvik-island open`: goes to where an item comes from.
namespace quorvik::OpenCommand {

/// Takes the words after "open" and returns the exit status. Throws UsageError, and ControlError and NoApp.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::OpenCommand
