#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island why`: why something is shown, or is not.
namespace quorvik::WhyCommand {

/// Takes what came after "why" and returns the exit status. Throws UsageError, and ControlError and NoApp.
int run(const Arguments& arguments);

} // namespace quorvik::WhyCommand
