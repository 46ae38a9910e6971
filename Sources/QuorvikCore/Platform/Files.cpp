#include "QuorvikCore/Platform/Files.h"

#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/LargeMemory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace quorvik::Files {

namespace {

std::int64_t modificationTime(const struct stat& status) {
#ifdef __APPLE__
    const timespec& time = status.st_mtimespec;
#else
    const timespec& time = status.st_mtim;
#endif
    // A file's time can be any, and not every one fits into nanoseconds.
    constexpr std::int64_t furthest = 9'000'000'000; // seconds: the years 1684 and 2255
    return std::clamp(std::int64_t{time.tv_sec}, -furthest, furthest) * 1'000'000'000 + time.tv_nsec;
}

std::optional<std::string> failed(int errorNumber, std::error_code* error) {
    if (error) *error = std::error_code(errorNumber, std::generic_category());
    return std::nullopt;
}

Status statusOf(const struct stat& status) {
    return {modificationTime(status), static_cast<std::uint64_t>(status.st_size), S_ISREG(status.st_mode)};
}

// O_NONBLOCK is for open() alone: a named pipe would block it. Reading regular files is not affected.
constexpr int readFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;

/// `size` is what the file is expected to have.
std::optional<std::string> readAll(const FileDescriptor& file, std::uint64_t size, std::size_t limit,
                                   std::error_code* error) {
    if (size > limit) return failed(EFBIG, error);
    // More than the size seen: a short read then proves the end without a second call. /proc says size 0.
    std::string bytes(std::max<std::size_t>(static_cast<std::size_t>(size) + 1, 1024), '\0');
    std::size_t length = 0;
    for (;;) {
        const ssize_t count = ::read(file.get(), bytes.data() + length, bytes.size() - length);
        if (count < 0) {
            if (errno == EINTR) continue;
            return failed(errno, error);
        }
        length += static_cast<std::size_t>(count);
        if (length > limit) return failed(EFBIG, error);
        if (count == 0 || length < bytes.size()) break;
        bytes.resize(bytes.size() * 2); // it grew while we read
    }
    bytes.resize(length);
    return bytes;
}

} // namespace

std::optional<std::string> read(const std::filesystem::path& path, std::size_t limit,
                                std::error_code* error) {
    const FileDescriptor file(::open(path.c_str(), readFlags));
    struct stat status;
    if (!file || ::fstat(file.get(), &status) != 0) return failed(errno, error);
    if (!S_ISREG(status.st_mode)) return failed(S_ISDIR(status.st_mode) ? EISDIR : EINVAL, error);
    return readAll(file, static_cast<std::uint64_t>(status.st_size), limit, error);
}

std::optional<StreamContent> readStream(int descriptor, std::size_t limit) {
    constexpr std::size_t pipeCapacity = 64 * 1024;
    StreamContent content;
    std::size_t capacity = 0;
    for (;;) {
        if (content.size_ == capacity) {
            // Memory that is not touched costs nothing, and large pages need large blocks.
            capacity = std::max(capacity * (capacity < 16 * pipeCapacity ? 2 : 16), pipeCapacity);
            void* larger = std::realloc(content.bytes_.get(), capacity);
            if (!larger) return std::nullopt;
            static_cast<void>(content.bytes_.release());
            content.bytes_.reset(static_cast<char*>(larger));
            Platform::preferLargePages(larger, capacity);
        }
        const ssize_t count =
            ::read(descriptor, content.bytes_.get() + content.size_, capacity - content.size_);
        if (count < 0 && errno == EINTR) continue;
        if (count == 0) return content;
        if (count < 0 || content.size_ + static_cast<std::size_t>(count) > limit) return std::nullopt;
        content.size_ += static_cast<std::size_t>(count);
    }
}

void createPrivateFolder(const std::filesystem::path& path) {
    struct stat status;
    if (::stat(path.c_str(), &status) == 0) {
        if (S_ISDIR(status.st_mode)) return;
        throw FileError("create the folder", path, ENOTDIR);
    }
    if (::mkdir(path.c_str(), 0700) == 0) return;
    if (errno == ENOENT && path.has_parent_path() && path.parent_path() != path) {
        createPrivateFolder(path.parent_path());
        if (::mkdir(path.c_str(), 0700) == 0) return;
    }
    if (errno == EEXIST && ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) return;
    throw FileError("create the folder", path, errno);
}

FileDescriptor createPrivate(const std::filesystem::path& path) {
    FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (file && ::fchmod(file.get(), 0600) != 0) return {};
    return file;
}

void replace(const std::filesystem::path& target, std::string_view bytes,
             const std::filesystem::path& temporary, mode_t permissions) {
    FileDescriptor file(
        ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, permissions));
    if (!file) throw FileError("create", temporary, errno);
    const auto give_up = [&](const char* action, const std::filesystem::path& path) {
        const int why = errno;
        ::unlink(temporary.c_str());
        throw FileError(action, path, why);
    };
    if (!writeAll(file.get(), bytes.data(), bytes.size())) give_up("write", temporary);
    if (::fchmod(file.get(), permissions) != 0) give_up("set the permissions of", temporary);
    if (!file.close()) give_up("write", temporary);
    if (::rename(temporary.c_str(), target.c_str()) != 0) give_up("replace", target);
}

std::string lastComponent(std::string_view path) {
    while (path.size() > 1 && path.back() == '/')
        path.remove_suffix(1);
    const auto slash = path.size() > 1 ? path.rfind('/') : std::string_view::npos;
    return std::string(path.substr(slash == std::string_view::npos ? 0 : slash + 1));
}

bool isExecutable(const std::filesystem::path& path) {
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && ::access(path.c_str(), X_OK) == 0;
}

std::optional<Folder> Folder::open(const std::filesystem::path& path) {
    DIR* stream = ::opendir(path.c_str());
    if (!stream) return std::nullopt;
    return Folder(stream);
}

Folder::Folder(Folder&&) noexcept = default;
Folder& Folder::operator=(Folder&&) noexcept = default;
Folder::~Folder() = default;

void Folder::Closer::operator()(void* stream) const {
    ::closedir(static_cast<DIR*>(stream));
}

const char* Folder::next() {
    errno = 0; // the end and a failure look the same otherwise
    const dirent* entry = ::readdir(static_cast<DIR*>(stream_.get()));
    if (!entry) errorNumber_ = errno;
    entry_ = entry;
    return entry ? entry->d_name : nullptr;
}

std::optional<std::string> Folder::readEntry(std::size_t limit) const {
    const auto* entry = static_cast<const dirent*>(entry_);
    if (!entry) return std::nullopt;
    constexpr std::uint64_t unknownSize = 0;
    const auto known = entry->d_type == DT_REG ? Status{0, unknownSize, true} : status(entry->d_name);
    if (!known) return std::nullopt;
    return read(entry->d_name, *known, limit);
}

std::optional<Status> Folder::status(const char* name) const {
    struct stat status;
    if (::fstatat(::dirfd(static_cast<DIR*>(stream_.get())), name, &status, 0) != 0) return std::nullopt;
    return statusOf(status);
}

std::optional<std::string> Folder::read(const char* name, const Status& status, std::size_t limit) const {
    if (!status.regular) return std::nullopt;
    const FileDescriptor file(::openat(::dirfd(static_cast<DIR*>(stream_.get())), name, readFlags));
    if (!file) return std::nullopt;
    return readAll(file, status.size, limit, nullptr);
}

} // namespace quorvik::Files
