#include "QuorvikCore/Platform/PartlyReadFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace quorvik {

std::optional<PartlyReadFile> PartlyReadFile::open(const std::filesystem::path& path) {
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)); // a pipe would block open()
    struct stat status;
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return PartlyReadFile(std::move(file));
}

std::string PartlyReadFile::read(std::uint64_t offset, std::size_t length) const {
    std::string bytes(length, '\0');
    std::size_t done = 0;
    while (done < length) {
        const ssize_t count =
            ::pread(file_.get(), bytes.data() + done, length - done, static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        done += static_cast<std::size_t>(count);
    }
    bytes.resize(done);
    return bytes;
}

} // namespace quorvik
