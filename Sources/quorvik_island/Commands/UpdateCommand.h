#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island update`: renews what another version of Quorvik has left in users' files.
namespace quorvik::UpdateCommand {

/// Returns the exit status.
int run(const Arguments& arguments);

} // namespace quorvik::UpdateCommand
