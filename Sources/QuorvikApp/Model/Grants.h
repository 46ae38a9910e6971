#pragma once

#include "QuorvikCore/Approvals/ApprovalRequest.h"

#include <string>
#include <vector>

namespace quorvik {

/// What "always" would grant beyond this one request, a sentence for each suggested rule: "allow Bash
/// commands that match npm run test:* in this project", "accept all edits in this session", "add the folder
/// /w to this session". What the rules hold is shown as VisibleText shows it.
///
/// Empty when "always" is not to be offered: the agent suggests nothing or does not keep what the reply
/// carries, a bare "allow" would do nothing already, or there is anything in the rules that has no words
/// here.
std::vector<std::string> grantsOf(const ApprovalRequest& request);

/// Whether the agent ignores an "allow" of this request, because it wants its plan or question answered in
/// its own interface, or answers along with the "allow".
bool ignoresBareAllow(const ApprovalRequest& request);

} // namespace quorvik
