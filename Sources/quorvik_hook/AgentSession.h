#pragma once

#include "QuorvikCore/Agents/HookEvent.h"
#include "QuorvikCore/Session/ProcessInspector.h"
#include "QuorvikCore/Session/SessionRecord.h"

#include <chrono>
#include <filesystem>
#include <functional>

namespace quorvik {

/// The record of one agent's session, and what it waits for, changed under the store's lock. Throws FileError
/// when the store cannot be written, or not soon: who holds its lock may have been stopped, and no agent is
/// to wait for that. All together, the waits of one hook stay below 2 seconds.
class AgentSession {
  public:
    /// `process` is the agent's; absent when it is not known.
    AgentSession(Source agent, const HookEvent& event, std::optional<ProcessInspector::Info> process);

    /// Folds the event into the record, and notes the request that it makes. False when the event does not
    /// count, and nothing was written. `isManualCompaction` as HookPayload says.
    bool fold(const HookEvent& event, bool isManualCompaction,
              const std::optional<ApprovalRequest>& request) const;

    /// How the wait for a request ended.
    enum class End {
        answered,   ///< the agent goes on
        withdrawn,  ///< nobody wants the answer any more: the agent does nothing
        leftToAgent ///< the agent asks in its own interface, or somebody else knows what became of it
    };

    /// Strikes the request off. The session no longer awaits its user, unless the agent asks by itself or
    /// another hook waits.
    void endWait(const std::string& requestID, End end) const;

    /// False once the user answered in the agent's own interface: nobody tells the hook, but what the agent
    /// does next shows it. Work that goes on beside the request (subagents, parallel tool calls) shows
    /// nothing.
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
