#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island answer`: gives an agent the user's answer.
namespace quorvik::AnswerCommand {

/// Takes what came after "answer" and returns the exit status. Throws UsageError, and ControlError and NoApp.
int run(const Arguments& arguments);

} // namespace quorvik::AnswerCommand
