#pragma once

#include "QuorvikCore/Approvals/ApprovalRequest.h"

#include <chrono>
#include <functional>

namespace quorvik::ApprovalClient {

/// Sends one request to the app and waits up to `timeout` for the user's answer. Blocks; never throws.
/// Absent, without telling why, when there is none: nobody (or another user's program) listens, the request
/// is longer than ApprovalWire::maxLine, the app closes the connection or answers nonsense, or time is up.
/// The caller then leaves the decision to the agent.
///
/// The user may answer in the agent's own interface meanwhile, which nobody tells a waiting hook:
/// `stillWanted`, when given, is asked at least four times a second and after every signal, and the first
/// false ends the wait. The connection is closed on return, from which the app learns that the matter is
/// over.
std::optional<ApprovalResponse> ask(const ApprovalRequest& request, std::chrono::duration<double> timeout,
                                    const std::string& socketPath,
                                    const std::function<bool()>& stillWanted = {});

} // namespace quorvik::ApprovalClient
