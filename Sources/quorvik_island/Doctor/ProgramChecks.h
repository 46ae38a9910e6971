#pragma once

#include "quorvik_island/Doctor/Check.h"

#include <string>

/// Our own programs. The ids begin with "programs.".
namespace quorvik::Doctor::ProgramChecks {

/// The version that the running program tells; empty when it does not.
std::string ownVersion();

/// Whether they are there, can be run and are of one version.
void run(const std::string& ownVersion, Findings& findings);

/// How long the hook takes for one event, beside a program that does nothing: the medians and the 99th
/// percentiles of 200 runs of each, in turn, in a support folder of their own.
void timeOfHook(Findings& findings);

} // namespace quorvik::Doctor::ProgramChecks
