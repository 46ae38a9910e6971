#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island serve`: the app itself, in the foreground.
namespace quorvik::ServeCommand {

/// Takes what came after "serve" and returns the exit status: 0 when it was asked to end, or when the app
/// runs already, which is said. Throws UsageError.
int run(const Arguments& arguments);

} // namespace quorvik::ServeCommand
