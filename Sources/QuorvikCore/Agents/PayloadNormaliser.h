#pragma once

#include "QuorvikCore/Agents/HookPayload.h"
#include "QuorvikCore/Session/Source.h"

#include <functional>
#include <vector>

/// Agents differ in more than the spelling of their keys. This brings a payload in line with what its members
/// mean for every other agent, before it becomes a HookEvent: one rule for each agent that needs one, and
/// nothing is done to payloads that are in line already.
namespace quorvik::PayloadNormaliser {

/// What the hook knows about where it runs.
struct Surroundings {
    std::string devinProjectDir;  ///< DEVIN_PROJECT_DIR of the environment; empty when not set
    std::string workingDirectory; ///< of the hook itself; empty when unknown
    std::string copilotAllowAll;  ///< COPILOT_ALLOW_ALL of the environment; empty when not set
    std::function<std::vector<std::string>()> agentArguments; ///< the agent's command line; may be null
};

enum class Verdict {
    report, ///< an event for its session
    drop    ///< reports nothing that the user would want to see, or somebody else reports it
};

/// `source` is the agent whose settings started the hook.
///  - All: a prompt that an agent wrote to its subagent (`agent_id` says so) is dropped: it is neither a
///  title
///    nor a turn of the user's.
///  - Claude: a payload of Grok's, which runs the hooks of Claude's settings besides its own, is dropped. A
///    prompt that a background task wrote starts a turn but is taken out, for it is no title.
///  - Grok: event names in snake case get their canonical spelling.
///  - Devin: says no folder, so it gets the project's, else the hook's own.
///  - Codex: its question tool gets the name that it has elsewhere.
///  - Qwen: a prompt that nobody wrote (it comes after every batch of tool results) is dropped, and so is the
///    begin of a compaction that the user asked for: Qwen never says that it is over.
///  - Copilot: says no event name, so it is told from the members. A subagent, which has a session of its
///    own, is dropped; so is a permission request of an agent that was told to ask nobody: it hands them to
///    its hooks all the same.
Verdict normalise(HookPayload& payload, Source source, const Surroundings& surroundings);

} // namespace quorvik::PayloadNormaliser
