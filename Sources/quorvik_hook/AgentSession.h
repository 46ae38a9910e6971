#pragma once

#include "QuorvikCore/Agents/HookEvent.h"
#include "QuorvikCore/Session/ProcessInspector.h"
#include "QuorvikCore/Session/SessionRecord.h"

#include <chrono>
#include <filesystem>
#include <functional>

namespace quorvik {

/// The record of one agent's session, and its open requests, changed under the store's lock. Throws FileError
/// when the store cannot be written, or its lock cannot be had soon: the holder may have been stopped, and no
/// agent is to wait for that. All waits of one hook together stay below 2 seconds.
class AgentSession {
  public:
    /// `process` is the agent's; absent when it is not known.
    AgentSession(Source agent, const HookEvent& event, std::optional<ProcessInspector::Info> process);

    /// Folds the event into the record, and adds the event's request, if it has one, to the open ones. False
    /// when the event means nothing (EventReducer); then nothing was written. `isManualCompaction` as in
    /// HookPayload.
    bool fold(const HookEvent& event, bool isManualCompaction,
              const std::optional<ApprovalRequest>& request) const;

    /// How the wait for a request ended.
    enum class End {
        answered,   ///< the agent goes on
        withdrawn,  ///< nobody wants the answer any more: the agent does nothing
        leftToAgent ///< the agent asks in its own interface, or somebody else knows what became of it
    };

    /// Strikes the request off. A session that awaited only this request then works (`answered`) or is idle
    /// (`withdrawn`); after `leftToAgent` it goes on awaiting its user.
    void endWait(const std::string& requestID, End end) const;

    /// False once the request was struck off: the user answered in the agent's own interface, and another
    /// hook saw the agent go on. Work that goes on beside the request (subagents, parallel tool calls) does
    /// not strike it off.
    bool isStillWaitingFor(const std::string& requestID) const;

    /// False once the agent's process is gone.
    bool agentIsRunning() const;

  private:
    void tellTerminal(SessionRecord& record) const;
    void settleRequests(const HookEvent& event) const;
    bool change(std::chrono::milliseconds patience,
                const std::function<void(std::optional<SessionRecord>&)>& mutate) const;

    Source agent_;
    std::string id_;
    std::filesystem::path folder_;
    std::filesystem::path file_;
    std::optional<ProcessInspector::Info> process_;
};

} // namespace quorvik
