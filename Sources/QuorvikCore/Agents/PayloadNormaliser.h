#pragma once

#include "QuorvikCore/Agents/HookPayload.h"
#include "QuorvikCore/Session/Source.h"

#include <functional>
#include <vector>

/// Agents differ in more than the spelling of their keys: the same member may mean different things. This
/// changes a payload so that its members mean what they mean for every other agent, before it becomes a
/// HookEvent. There is one rule for each agent that needs one; all other payloads stay as they are.
namespace quorvik::PayloadNormaliser {

/// What the hook knows about where it runs.
struct Surroundings {
    std::string devinProjectDir;  ///< DEVIN_PROJECT_DIR of the environment; empty when not set
    std::string workingDirectory; ///< of the hook itself; empty when unknown
    std::string copilotAllowAll;  ///< COPILOT_ALLOW_ALL of the environment; empty when not set
    std::function<std::vector<std::string>()> agentArguments; ///< the agent's command line; may be null
};

enum class Verdict {
    report, ///< the payload becomes an event of its session
    drop    ///< the payload is ignored: it tells the user nothing, or another payload tells the same
};

/// Changes the payload in place, by the rules of `source`, the agent whose settings started the hook:
///  - All: a prompt that an agent wrote to its subagent (`agent_id` is there) is dropped. It is neither a
///    title nor a turn of the user's.
///  - Claude: a payload of Grok's is dropped: Grok runs the hooks in Claude's settings besides its own. A
///    prompt that a background task wrote starts a turn, but its text is removed, since it is no title.
///  - Grok: event names in snake case get their canonical spelling.
///  - Devin: its payloads name no folder, so they get the project's, else the hook's own.
///  - Codex: its question tool gets the name that other agents use.
///  - Qwen: a prompt that nobody wrote (one comes after every batch of tool results) is dropped. So is the
///    begin of a compaction that the user asked for, since Qwen never reports its end.
///  - Copilot: its payloads name no event, so the event is told from the members. A payload of a subagent,
///    which has a session of its own, is dropped. So is a permission request of an agent that was told to ask
///    nobody: Copilot hands those to its hooks all the same.
Verdict normalise(HookPayload& payload, Source source, const Surroundings& surroundings);

} // namespace quorvik::PayloadNormaliser
