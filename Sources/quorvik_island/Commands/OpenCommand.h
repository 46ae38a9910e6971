#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island open`: goes to where an item comes from.
namespace quorvik::OpenCommand {

/// Takes what came after "open" and returns the exit status. Throws UsageError, and ControlError and NoApp.
int run(const Arguments& arguments);

} // namespace quorvik::OpenCommand
