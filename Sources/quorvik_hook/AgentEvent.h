#pragma once

#include "QuorvikCore/Session/Source.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

/// One lifecycle event of a coding agent, from its payload to the session's record and, where the agent waits
/// for its user, to the reply.
namespace quorvik::AgentEvent {

/// Folds the payload into its session's record and tells the app. A permission request or question that the
/// app can answer is put to it, and waited for; the agent's reply is handed to `print`, which returns whether
/// it reached the agent: then the session goes on working. Without a reply (no app, no answer, the matter was
/// settled elsewhere meanwhile) `print` is not called, and the session goes on awaiting what the agent's own
/// prompt asks.
///
/// `startedBy` is the process to look for the agent from: the agent itself, or a shell that it started.
/// A payload that cannot be read, or an event that is not known, is counted (HookLedger) and otherwise
/// ignored. Errors of the store are not reported: an agent is never to suffer from its hook.
void handle(std::string_view payload, Source agent, std::int32_t startedBy,
            const std::function<bool(const std::string&)>& print);

} // namespace quorvik::AgentEvent
