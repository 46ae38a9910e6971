#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island signals`: what the app looks at by itself, and what that costs.
namespace quorvik::SignalsCommand {

/// Takes what came after "signals" and returns the exit status. Throws UsageError, ControlError, NoApp and
/// RecordError.
int run(const Arguments& arguments);

} // namespace quorvik::SignalsCommand
