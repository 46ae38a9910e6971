#pragma once

#include "quorvik_island/Arguments.h"

#include "QuorvikCore/Approvals/ApprovalRequest.h"

#include <string>

/// `quorvik-island requests`: what agents wait for.
namespace quorvik::RequestsCommand {

/// Takes what came after "requests" and returns the exit status. Throws UsageError, and ControlError and
/// NoApp.
int run(const Arguments& arguments);

/// What is asked, on one line fit for a terminal: "Bash: git push", "2 questions: Which colour?".
std::string what(const ApprovalRequest& request);

} // namespace quorvik::RequestsCommand
