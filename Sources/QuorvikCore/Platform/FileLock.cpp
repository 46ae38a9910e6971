#include "QuorvikCore/Platform/FileLock.h"

#include "QuorvikCore/Platform/FileError.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>

namespace quorvik {

namespace {

using Path = std::filesystem::path;

bool isFileAt(const Path& path, const FileDescriptor& file) {
    struct stat taken, current;
    if (::fstat(file.get(), &taken) != 0) throw FileError("lock", path, errno);
    return ::stat(path.c_str(), &current) == 0 && taken.st_ino == current.st_ino &&
           taken.st_dev == current.st_dev;
}

/// The locked file that stands at `path`; empty when `operation` does not wait and somebody holds it.
FileDescriptor locked(const Path& path, int operation) {
    for (;;) {
        FileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!file) throw FileError("open the lock file", path, errno);
        while (::flock(file.get(), operation) != 0) {
            if (errno == EWOULDBLOCK) return {};
            if (errno != EINTR) throw FileError("lock", path, errno);
        }
        if (isFileAt(path, file)) return file;
    }
}

} // namespace

FileLock FileLock::acquire(const Path& path) {
    return FileLock(locked(path, LOCK_EX), path);
}

std::optional<FileLock> FileLock::tryAcquire(const Path& path) {
    FileDescriptor file = locked(path, LOCK_EX | LOCK_NB);
    if (!file) return std::nullopt;
    return FileLock(std::move(file), path);
}

bool FileLock::stands() const {
    return isFileAt(path_, file_);
}

} // namespace quorvik
