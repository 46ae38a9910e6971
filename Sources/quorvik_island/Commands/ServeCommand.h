#pragma once

#include <span>
#include <string>

/// `quorvik-island serve`: the app itself, in the foreground.
namespace quorvik::ServeCommand {

/// Takes the words after "serve" and returns the exit status: 0 when it was asked to end, or when the app
/// runs already, which is said. Throws UsageError.
int run(std::span<const std::string> commandLine);

} // namespace quorvik::ServeCommand
