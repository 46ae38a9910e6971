#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island doctor`: proves that everything works, or tells what to do.
namespace quorvik::DoctorCommand {

/// Takes what came after "doctor" and returns the exit status. Throws UsageError.
int run(const Arguments& arguments);

} // namespace quorvik::DoctorCommand
