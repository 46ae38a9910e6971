#pragma once

#include <span>
#include <string>

/// `quorvik-island settings`: the user's choices.
namespace quorvik::SettingsCommand {

/// Takes the words after "settings" and returns the exit status. Throws UsageError, and EditError and
/// FileError when the file cannot be changed.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::SettingsCommand
