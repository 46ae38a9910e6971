#pragma once

#include "quorvik_island/Doctor/Check.h"

/// Our own programs. The ids begin with "programs.".
namespace quorvik::Doctor::ProgramChecks {

/// Whether they are there, can be run and are of this version.
void run(Findings& findings);

/// How long the hook takes for one event, beside a program that does nothing: the medians and the 99th
/// percentiles of 200 runs of each, in turn, in a support folder of their own.
void timeOfHook(Findings& findings);

} // namespace quorvik::Doctor::ProgramChecks
