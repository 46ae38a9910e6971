#pragma once

#include "QuorvikCore/Approvals/ApprovalRequest.h"

#include <span>
#include <string>

/// `quorvik-island requests`: what agents wait for.
namespace quorvik::RequestsCommand {

/// Takes the words after "requests" and returns the exit status. Throws UsageError, and ControlError and
/// NoApp.
int run(std::span<const std::string> commandLine);

/// What is asked, on one line fit for a terminal: "Bash: git push", "2 questions: Which colour?".
std::string what(const ApprovalRequest& request);

} // namespace quorvik::RequestsCommand
