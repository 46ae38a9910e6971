#pragma once

#include "quorvik_island/Arguments.h"

/// `quorvik-island settings`: the user's choices.
namespace quorvik::SettingsCommand {

/// Takes what came after "settings" and returns the exit status. Throws UsageError, and EditError and
/// FileError when the file cannot be changed.
int run(const Arguments& arguments);

} // namespace quorvik::SettingsCommand
