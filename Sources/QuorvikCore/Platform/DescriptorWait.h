#pragma once

#include <span>

/// Waiting for several descriptors at once, terminals among them: macOS's poll() takes none of those.
namespace quorvik::Platform {

struct AwaitedInput {
    int descriptor;        ///< negative: nothing is awaited
    bool canRead = false;  ///< there is something to read, or the end
    bool isBroken = false; ///< the other side is gone, or the descriptor is not open
};

/// Waits until one of them can be read or is broken, a signal has come, or so many milliseconds are over (-1:
/// without an end), and sets what holds now. False when the system cannot wait.
bool awaitInput(std::span<AwaitedInput> inputs, int milliseconds);

/// Whether a write of a few bytes would not wait now. Not for one whose other side is gone.
bool canWrite(int descriptor);

} // namespace quorvik::Platform
