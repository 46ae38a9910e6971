#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island watch`: what the island shows, a line for every change.
namespace quorvik::WatchCommand {

/// Takes what came after "watch" and returns the exit status. Throws UsageError.
int run(const Arguments& arguments);

} // namespace quorvik::WatchCommand
