#pragma once

#include "quorvik_island/Doctor/Check.h"

#include "QuorvikCore/Session/HookLedger.h"
#include "QuorvikCore/Session/Source.h"

#include <string>

/// One coding agent: whether our hooks are in its settings, whether it runs them, and whether we understand
/// what it sends.
namespace quorvik::Doctor::AgentChecks {

/// What is known before any agent is looked at.
struct Surroundings {
    std::string version; ///< of this program; empty when it does not tell
    HookLedger::Content ledger;
};

/// Their ids begin with "agents.<agent>.". Takes seconds: it runs the agent (--version) and our hook.
void run(Source agent, const Surroundings& surroundings, Findings& findings);

} // namespace quorvik::Doctor::AgentChecks
