#pragma once

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikCore/Install/UserFileEdit.h"

/// `quorvik-island autostart`: lets the app start with the session.
namespace quorvik::AutostartCommand {

/// Takes what came after "autostart" and returns the exit status. Throws UsageError.
int run(const Arguments& arguments);

/// Writes the unit, or renews it, and tells the service manager. Throws as Autostart::install does.
EditOutcome install(const Arguments& arguments, Console& console);

} // namespace quorvik::AutostartCommand
