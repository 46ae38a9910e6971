#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island` without a command: the island, live in this terminal.
namespace quorvik::LiveCommand {

/// Takes all words, options only, and returns the exit status. Throws UsageError, and std::runtime_error when
/// the terminal cannot be used.
int run(const Arguments& arguments);

} // namespace quorvik::LiveCommand
