#pragma once

#include <span>
#include <string>

/// `quorvik-island autostart`: lets the app start with the session.
namespace quorvik::AutostartCommand {

/// Takes the words after "autostart" and returns the exit status. Throws UsageError.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::AutostartCommand
