#pragma once

#include "quorvik_island/Doctor/Check.h"

#include "QuorvikCore/Session/HookLedger.h"

/// What has come from an agent: when its last event did, whether one did since our hooks were installed, and
/// what was not understood. Known from the records of its sessions and from the HookLedger.
namespace quorvik::Doctor::EventChecks {

void run(Source agent, const HookLedger::Content& ledger, Findings& findings);

} // namespace quorvik::Doctor::EventChecks
