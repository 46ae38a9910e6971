#include "QuorvikCore/Platform/FileLock.h"

#include "QuorvikCore/Platform/FileError.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <thread>

namespace quorvik {

namespace {

using Path = std::filesystem::path;
using Clock = std::chrono::steady_clock;

constexpr auto never = Clock::time_point::max();

/// False, with errno set, when the lock cannot be had.
bool lock(int file, Clock::time_point deadline) {
    // No system call waits for a lock with a time limit, so this asks again and again. The first pause is
    // shorter than a writer needs.
    std::chrono::microseconds pause(200);
    constexpr std::chrono::microseconds longestPause(5000);
    while (::flock(file, deadline == never ? LOCK_EX : LOCK_EX | LOCK_NB) != 0) {
        if (errno == EINTR) continue;
        if (errno != EWOULDBLOCK || Clock::now() >= deadline) return false;
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, longestPause);
    }
    return true;
}

bool isFileAt(const Path& path, const FileDescriptor& file) {
    struct stat taken, current;
    if (::fstat(file.get(), &taken) != 0) throw FileError("lock", path, errno);
    return ::stat(path.c_str(), &current) == 0 && taken.st_ino == current.st_ino &&
           taken.st_dev == current.st_dev;
}

} // namespace

FileLock FileLock::acquire(const Path& path, Limit limit) {
    const auto deadline = limit ? Clock::now() + *limit : never;
    for (;;) {
        FileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!file) throw FileError("open the lock file", path, errno);
        if (!lock(file.get(), deadline)) throw FileError("lock", path, errno);
        if (isFileAt(path, file)) return FileLock(std::move(file), path);
    }
}

std::optional<FileLock> FileLock::tryAcquire(const Path& path) {
    try {
        return acquire(path, std::chrono::milliseconds(0));
    } catch (const FileError& error) {
        if (error.code().value() == EWOULDBLOCK) return std::nullopt;
        throw;
    }
}

bool FileLock::stands() const {
    return isFileAt(path_, file_);
}

} // namespace quorvik
