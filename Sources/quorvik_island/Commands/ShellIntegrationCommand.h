#pragma once

#include <span>
#include <string>

/// `quorvik-island shell`: our script in the user's zsh.
namespace quorvik::ShellIntegrationCommand {

/// Takes the words after "shell" and returns the exit status. Throws UsageError.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::ShellIntegrationCommand
