#pragma once

#include <span>
#include <string>

/// `quorvik-island answer`: gives an agent the user's answer.
namespace quorvik::AnswerCommand {

/// Takes the words after "answer" and returns the exit status. Throws UsageError, and ControlError and NoApp.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::AnswerCommand
