#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island stop`: ends the app.
namespace quorvik::StopCommand {

/// Takes what came after "stop" and returns the exit status. Throws UsageError, and ControlError and NoApp.
int run(const Arguments& arguments);

/// Ends the running app and waits until it is gone. Throws ControlError, and NoApp when none runs or it does
/// not end.
void stopApp();

} // namespace quorvik::StopCommand
