#pragma once

#include "quorvik_island/Arguments.h"

#include "QuorvikCore/Session/ProcessInspector.h"

#include <chrono>

/// `quorvik-island stop`: ends the app.
namespace quorvik::StopCommand {

/// Takes what came after "stop" and returns the exit status. Throws UsageError, and ControlError and NoApp.
int run(const Arguments& arguments);

/// Ends the running app and waits until it is gone. Throws ControlError, and NoApp when none runs or it does
/// not end.
void stopApp();

/// Waits until the process has ended; false when it is still there after that time.
bool endsWithin(std::chrono::seconds patience, const ProcessInspector::Info& process);

} // namespace quorvik::StopCommand
