#pragma once

#include <chrono>
#include <stdexcept>
#include <string>

/// Starts the app in the background, for front ends that find none.
namespace quorvik::AppStarter {

/// Whether QUORVIK_NO_START=1 forbids it: for tests and sandboxes.
bool isForbidden();

enum class Way {
    asInstalled, ///< through the service manager, where that is set up for it
    directly,
};

/// Starts the app. Where the service manager is set up for it, that is told to start the app, and this
/// returns at once, whether the app gets ready or not. Otherwise, or when that fails, runs the quorvik-island
/// beside this program as `serve`, in a session of its own, in "/", with few environment variables and no
/// descriptors but its log; then waits until it, or another app that runs already, can be connected to.
/// Throws NoApp with the reason when the program cannot run, ends, or reports nothing within `limit`.
void start(std::chrono::duration<double> limit, Way way = Way::asInstalled);

/// The way in which an app that start() has started reports how that went.
struct Readiness {
    int descriptor = -1; ///< the starter's pipe; -1: nobody waits
    /// Reports "ready", "running" (another app has the place) or an error, one line. Once at most.
    void report(const std::string& word) const;
};
/// What an app in the background does first: leaves the starter's session, folder, descriptors and streams.
Readiness detach(int readinessDescriptor);

} // namespace quorvik::AppStarter
