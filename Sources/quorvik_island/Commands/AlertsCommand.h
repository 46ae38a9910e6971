#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island alerts`: the alerts that are shown, and their pause.
namespace quorvik::AlertsCommand {

/// Takes what came after "alerts" and returns the exit status. Throws UsageError, and ControlError and NoApp.
int run(const Arguments& arguments);

} // namespace quorvik::AlertsCommand
