#pragma once

#include <chrono>

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

} // namespace quorvik::AppStarter
