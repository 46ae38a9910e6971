#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island completion`: scripts that complete our commands in shells.
namespace quorvik::CompletionCommand {

/// Takes what came after "completion" and returns the exit status. Throws UsageError.
int run(const Arguments& arguments);

} // namespace quorvik::CompletionCommand
