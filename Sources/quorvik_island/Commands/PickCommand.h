#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island pick`: the user keeps an item in front.
namespace quorvik::PickCommand {

/// Takes what came after "pick" and returns the exit status. Throws UsageError, and ControlError and NoApp.
int run(const Arguments& arguments);

} // namespace quorvik::PickCommand
