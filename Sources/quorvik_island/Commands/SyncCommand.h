#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island sync`: waits until the app has caught up.
namespace quorvik::SyncCommand {

/// Takes what came after "sync" and returns the exit status. Throws UsageError, and ControlError and NoApp.
int run(const Arguments& arguments);

} // namespace quorvik::SyncCommand
