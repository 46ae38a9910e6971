#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island hooks`: our hooks in the settings of coding agents.
namespace quorvik::HooksCommand {

/// Takes what came after "hooks" and returns the exit status. Throws UsageError.
int run(const Arguments& arguments);

} // namespace quorvik::HooksCommand
