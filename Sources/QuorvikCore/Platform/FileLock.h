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

    /// Creates the file (0600) if need be and waits for the lock: for ever, or about as long as `limit` says,
    /// since the holder may have been stopped. When this returns, the file that is locked is the one at
    /// `path`: if somebody removed or replaced it during the wait, the new one is locked instead. Throws
    /// FileError, also when the limit is reached.
    static FileLock acquire(const std::filesystem::path& path, Limit limit = std::nullopt);

    /// acquire() without waiting: absent when somebody else holds the lock.
    static std::optional<FileLock> tryAcquire(const std::filesystem::path& path);

    /// Whether the locked file is still the one at its path: somebody may have removed or replaced it.
    bool stands() const;

  private:
    FileLock(FileDescriptor file, std::filesystem::path path)
        : file_(std::move(file)), path_(std::move(path)) {}
    FileDescriptor file_;
    std::filesystem::path path_;
};

} // namespace quorvik
