#pragma once

#include "quorvik_island/Doctor/Check.h"

#include <string>

/// The app: whether it runs, and what it says of itself. The ids begin with "app.".
namespace quorvik::Doctor::AppChecks {

void run(Findings& findings);

} // namespace quorvik::Doctor::AppChecks
