#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island restart`: ends the app and starts it again.
namespace quorvik::RestartCommand {

/// Takes what came after "restart" and returns the exit status. Throws UsageError, and ControlError and
/// NoApp.
int run(const Arguments& arguments);

} // namespace quorvik::RestartCommand
