#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island clipboard`: the quick action for what was copied.
namespace quorvik::ClipboardCommand {

/// Takes what came after "clipboard" and returns the exit status. Throws UsageError, and ControlError and
/// NoApp.
int run(const Arguments& arguments);

} // namespace quorvik::ClipboardCommand
