#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island clear`: forgets what is over.
namespace quorvik::ClearCommand {

/// Takes what came after "clear" and returns the exit status. Throws UsageError, and FileError when the
/// sessions cannot be listed.
int run(const Arguments& arguments);

} // namespace quorvik::ClearCommand
