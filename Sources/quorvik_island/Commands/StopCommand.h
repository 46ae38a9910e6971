#pragma once

#include <span>
#include <string>

/// `quorvik-island stop`: ends the app.
namespace quorvik::StopCommand {

/// Takes the words after "stop" and returns the exit status. Throws UsageError, and ControlError and NoApp.
int run(std::span<const std::string> commandLine);

/// Ends the running app and waits until it is gone. Throws ControlError, and NoApp when none runs or it does
/// not end.
void stopApp();

} // namespace quorvik::StopCommand
