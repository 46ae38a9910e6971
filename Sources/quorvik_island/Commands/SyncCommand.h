#pragma once

#include <span>
#include <string>

/// `quorvik-island sync`: waits until the app has caught up.
namespace quorvik::SyncCommand {

/// Takes the words after "sync" and returns the exit status. Throws UsageError, and ControlError and NoApp.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::SyncCommand
