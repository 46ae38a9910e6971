#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island shell`: our script in the user's zsh.
namespace quorvik::ShellIntegrationCommand {

/// Takes what came after "shell" and returns the exit status. Throws UsageError.
int run(const Arguments& arguments);

} // namespace quorvik::ShellIntegrationCommand
