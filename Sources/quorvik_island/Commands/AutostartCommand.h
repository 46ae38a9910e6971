#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island autostart`: lets the app start with the session.
namespace quorvik::AutostartCommand {

/// Takes what came after "autostart" and returns the exit status. Throws UsageError.
int run(const Arguments& arguments);

} // namespace quorvik::AutostartCommand
