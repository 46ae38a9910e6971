#pragma once

#include "QuorvikCore/Platform/FileDescriptor.h"

#include <chrono>
#include <filesystem>
#include <optional>

namespace quorvik {

/// An exclusive advisory lock on a file of its own, held from acquire() until destruction. Other processes
/// and other threads wait; the system releases it when the process dies, however it dies.
///
/// flock(), not fcntl(): fcntl's locks vanish when the process closes any descriptor of the file.
class FileLock {
  public:
    using Limit = std::optional<std::chrono::milliseconds>;

    /// Creates the file (0600) if need be and waits for the lock, as long as it takes or, given a limit,
    /// about so long: who holds it may have been stopped. The file that is locked is the one that stands at
    /// `path` when this returns: if somebody removed or replaced it during the wait, the new one is locked
    /// instead. Throws FileError, also when the limit is reached.
    static FileLock acquire(const std::filesystem::path& path, Limit limit = std::nullopt);

  private:
    explicit FileLock(FileDescriptor file) : file_(std::move(file)) {}
    FileDescriptor file_;
};

} // namespace quorvik
