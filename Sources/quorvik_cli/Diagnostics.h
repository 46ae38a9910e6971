#pragma once

#include <string_view>

namespace quorvik {

/// Exit statuses of the tool. `run` has its command's own status besides.
enum ExitStatus : int { exitSuccess = 0, exitUsage = 3, exitNotStarted = 127 };

/// One line for people on standard error: "quorvik: " and the message, in one write.
void say(std::string_view message);

/// Prints the two lines of usage on standard error; returns exitUsage.
int usage();

} // namespace quorvik
