#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island show`: what the island shows right now.
namespace quorvik::ShowCommand {

/// Takes what came after "show" and returns the exit status. Throws UsageError, and FileError when the
/// sessions cannot be listed.
int run(const Arguments& arguments);

} // namespace quorvik::ShowCommand
