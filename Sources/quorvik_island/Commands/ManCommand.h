#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island man`: our programs' manual pages.
namespace quorvik::ManCommand {

/// Takes what came after "man" and returns the exit status. Throws UsageError.
int run(const Arguments& arguments);

} // namespace quorvik::ManCommand
