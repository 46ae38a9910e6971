#pragma once

#include "quorvik_island/Doctor/Check.h"

#include "QuorvikCore/Session/HookLedger.h"
#include "QuorvikCore/Session/Source.h"

/// One coding agent: whether our hooks are in its settings, whether it runs them, and whether we understand
/// what it sends.
namespace quorvik::Doctor::AgentChecks {

/// Their ids begin with "agents.<agent>.". Takes seconds: it runs the agent (--version) and our hook.
void run(Source agent, const HookLedger::Content& ledger, Findings& findings);

} // namespace quorvik::Doctor::AgentChecks
