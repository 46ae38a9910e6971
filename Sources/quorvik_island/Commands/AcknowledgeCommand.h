#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island acknowledge`: the user has seen it.
namespace quorvik::AcknowledgeCommand {

/// Takes what came after "acknowledge" and returns the exit status. Throws UsageError, and ControlError and
/// NoApp.
int run(const Arguments& arguments);

} // namespace quorvik::AcknowledgeCommand
