#pragma once

#include "QuorvikCore/Session/Source.h"

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

/// Whether a hook works is known only when it is run as its agent would run it.
namespace quorvik::Doctor::HookTrial {

/// How a trial ended.
struct Result {
    bool hasReported = false;                 ///< the session's record was there when the hook had ended
    std::string failure;                      ///< otherwise why not, for people: "no record appeared"
    std::chrono::duration<double> duration{}; ///< from the start of the agent's shell to its end
};

/// The shell with which the agent runs its hooks, and its option before the command line.
std::vector<std::string> shellOf(Source agent);

/// What the agent hands to its hook when a session starts, in the members that it uses and with values of
/// ours.
std::string payload(Source agent, std::string_view sessionID, std::string_view folder);

/// Runs a command line out of the agent's settings, with the agent's shell, the payload on its standard input
/// and a support folder of its own, so that nothing of it is seen anywhere. Never throws.
Result run(Source agent, const std::string& commandLine);

} // namespace quorvik::Doctor::HookTrial
