#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island usage`: the limits of agents' accounts.
namespace quorvik::UsageCommand {

/// Takes what came after "usage" and returns the exit status. Throws UsageError.
int run(const Arguments& arguments);

} // namespace quorvik::UsageCommand
