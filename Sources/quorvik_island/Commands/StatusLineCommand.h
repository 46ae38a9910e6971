#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island statusline`: our status line in Claude Code's settings.
namespace quorvik::StatusLineCommand {

/// Takes what came after "statusline" and returns the exit status. Throws UsageError.
int run(const Arguments& arguments);

} // namespace quorvik::StatusLineCommand
