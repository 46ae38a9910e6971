#pragma once

#include <span>
#include <string>

/// `quorvik-island clipboard`: the quick action for what was copied.
namespace quorvik::ClipboardCommand {

/// Takes the words after "clipboard" and returns the exit status. Throws UsageError, and ControlError and
/// NoApp.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::ClipboardCommand
