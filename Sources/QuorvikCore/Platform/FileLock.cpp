#include "QuorvikCore/Platform/FileLock.h"

#include "QuorvikCore/Platform/FileError.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>

namespace quorvik {

FileLock FileLock::acquire(const std::filesystem::path& path) {
    for (;;) {
        FileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!file) throw FileError("open the lock file", path, errno);
        while (::flock(file.get(), LOCK_EX) != 0) {
            if (errno != EINTR) throw FileError("lock", path, errno);
        }
        struct stat locked, current;
        if (::fstat(file.get(), &locked) != 0) throw FileError("lock", path, errno);
        if (::stat(path.c_str(), &current) == 0 && locked.st_ino == current.st_ino &&
            locked.st_dev == current.st_dev)
            return FileLock(std::move(file));
    }
}

} // namespace quorvik
