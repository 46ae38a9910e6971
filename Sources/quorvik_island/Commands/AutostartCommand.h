#pragma once

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikCore/Install/Autostart.h"

/// `quorvik-island autostart`: lets the app, and the overlay, start with the session.
namespace quorvik::AutostartCommand {

/// Takes what came after "autostart" and returns the exit status. Throws UsageError.
int run(const Arguments& arguments);

/// How it stands. `arguments` may name the app's program. Throws as Autostart::state does.
Autostart::State state(Autostart::What what, const Arguments& arguments);

/// Writes what starts it, or renews that, and tells the service manager. Throws as Autostart::install does,
/// and when there is no program to start.
EditOutcome install(Autostart::What what, const Arguments& arguments, Console& console);

} // namespace quorvik::AutostartCommand
