#pragma once

#include <span>
#include <string>

/// `quorvik-island pick`: the user keeps an item in front.
namespace quorvik::PickCommand {

/// Takes the words after "pick" and returns the exit status. Throws UsageError, and ControlError and NoApp.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::PickCommand
