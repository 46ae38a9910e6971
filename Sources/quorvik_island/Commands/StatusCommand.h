#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island status`: how the app is.
namespace quorvik::StatusCommand {

/// Takes what came after "status" and returns the exit status. Throws UsageError, and ControlError and NoApp.
int run(const Arguments& arguments);

} // namespace quorvik::StatusCommand
