#pragma once

#include <chrono>
#include <stdexcept>
#include <string>

/// Starts the app in the background, for front ends that find none.
namespace quorvik::AppStarter {

/// Whether QUORVIK_NO_START=1 forbids it: for tests and sandboxes.
bool isForbidden();

/// Lets the service manager start the app, where it is installed for that; else, or when that does not work,
/// runs the quorvik-island that stands beside this program, as `serve`, in a session of its own, in "/", with
/// few environment variables and no descriptors but its log, and waits until it can be connected to, or
/// another one can. Throws NoApp with the reason when it cannot run, and when it says nothing within `limit`.
void start(std::chrono::duration<double> limit);

/// What a background app does first: takes the place that start() made for it. Returns the function that
/// reports "ready", "running" or an error to the starter.
struct Readiness {
    int descriptor = -1; ///< -1: nobody waits
    void report(const std::string& word) const;
};
Readiness detach(int readinessDescriptor);

} // namespace quorvik::AppStarter
