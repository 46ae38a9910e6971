#include "QuorvikCore/Platform/UserFile.h"

#include "QuorvikCore/Platform/FileAttributes.h"
#include "QuorvikCore/Platform/FileDescriptor.h"
#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <utility>

namespace quorvik {

namespace {

using Path = std::filesystem::path;

std::optional<std::string> contentOf(const Path& path, std::size_t limit) {
    std::error_code error;
    auto content = Files::read(path, limit, &error);
    if (!content && error != std::errc::no_such_file_or_directory)
        throw FileError("read", path, error.value());
    return content;
}

/// Where the links lead, whether or not there is a file yet.
Path resolved(Path path) {
    constexpr int mostLinks = 40; // as many as the kernel follows
    for (int links = 0;; ++links) {
        std::error_code error;
        const Path target = std::filesystem::read_symlink(path, error);
        // Only these errors mean "not a link" and "nothing there". After any other the path may be a link,
        // which must not be lost.
        if (error == std::errc::invalid_argument || error == std::errc::no_such_file_or_directory)
            return path;
        if (error) throw FileError("follow", path, error.value());
        if (links == mostLinks) throw FileError("follow", path, ELOOP);
        path = path.parent_path() / target;
    }
}

constexpr std::string_view temporarySuffix = ".quorvik.tmp";

bool sync(int file) {
#ifdef F_FULLFSYNC
    if (::fcntl(file, F_FULLFSYNC) == 0) return true; // some file systems do not have it
#endif
    return ::fsync(file) == 0;
}

/// A file beside its target, removed unless it took the target's place.
class TemporaryFile {
  public:
    // Two of our programs may edit the same file at once: each has a temporary file of its own.
    explicit TemporaryFile(const Path& target)
        : target_(target),
          path_(target.native() + "." + std::to_string(::getpid()) + std::string(temporarySuffix)) {
        ::unlink(path_.c_str()); // left by a process of the same number that was killed
        file_ = FileDescriptor(::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (!file_) throw FileError("create", path_, errno);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (!committed_) ::unlink(path_.c_str());
    }

    void write(std::string_view bytes) {
        require(writeAll(file_.get(), bytes.data(), bytes.size()), "write");
    }

    /// Owner, group, permissions and attributes of the target; a new file stays as it was created.
    void takeOwnerAndPermissions() {
        const FileDescriptor old(::open(target_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
        if (!old && errno == ENOENT) return;
        struct stat wanted, own;
        if (!old || ::fstat(old.get(), &wanted) != 0) throw FileError("examine", target_, errno);
        require(::fstat(file_.get(), &own) == 0, "examine");
        mode_t mode = wanted.st_mode & 07777;
        if (own.st_uid != wanted.st_uid)
            require(::fchown(file_.get(), wanted.st_uid, static_cast<gid_t>(-1)) == 0, "set the owner of");
        // A group that the user does not belong to cannot be given back; another one gets no access instead.
        if (own.st_gid != wanted.st_gid && ::fchown(file_.get(), static_cast<uid_t>(-1), wanted.st_gid) != 0)
            mode &= ~mode_t{070};
        require(copyAttributes(old.get(), file_.get()), "set the attributes of");
        require(::fchmod(file_.get(), mode) == 0, "set the permissions of"); // last: a list changes the mode
    }

    void finish() {
        require(sync(file_.get()), "write");
        require(file_.close(), "write");
    }

    void commit() {
        if (::rename(path_.c_str(), target_.c_str()) != 0) throw FileError("replace", target_, errno);
        committed_ = true;
    }

  private:
    void require(bool success, const char* action) const {
        if (!success) throw FileError(action, path_, errno);
    }

    const Path target_;
    const Path path_;
    FileDescriptor file_;
    bool committed_ = false;
};

/// Whether the name is that of a temporary file for `target`: "<target>.<process>.quorvik.tmp".
bool isTemporaryOf(std::string_view target, std::string_view name) {
    if (!name.starts_with(target) || !name.ends_with(temporarySuffix)) return false;
    name.remove_prefix(target.size());
    name.remove_suffix(std::min(name.size(), temporarySuffix.size()));
    const auto isDigit = [](char byte) { return byte >= '0' && byte <= '9'; };
    return name.size() > 1 && name.front() == '.' && std::all_of(name.begin() + 1, name.end(), isDigit);
}

void removeLeftovers(const Path& target) {
    const std::string own = target.filename().string();
    auto folder = Files::Folder::open(target.parent_path());
    while (const char* name = folder ? folder->next() : nullptr) {
        if (!isTemporaryOf(own, name)) continue;
        if (const auto status = folder->status(name); status && UserFile::isLeftover(*status))
            ::unlink((target.parent_path() / name).c_str());
    }
}

} // namespace

bool UserFile::isLeftover(const Files::Status& temporary) {
    using namespace std::chrono;
    const auto now = duration_cast<nanoseconds>(system_clock::now().time_since_epoch());
    return temporary.regular && now - nanoseconds(temporary.modified) > minutes(1);
}

UserFile UserFile::read(const Path& path, std::size_t limit) {
    return UserFile(path, limit, contentOf(path, limit));
}

bool UserFile::isUnchanged() const {
    return contentOf(path_, limit_) == content_;
}

bool UserFile::replace(std::string_view bytes) const {
    const Path target = resolved(path_);
    if (!content_) Files::createPrivateFolder(target.parent_path());
    removeLeftovers(target);
    TemporaryFile temporary(target);
    temporary.write(bytes);
    temporary.takeOwnerAndPermissions();
    temporary.finish();
    if (!isUnchanged()) return false;
    temporary.commit();
    return true;
}

bool UserFile::remove() const {
    if (!isUnchanged()) return false;
    if (::unlink(path_.c_str()) != 0 && errno != ENOENT) throw FileError("remove", path_, errno);
    return true;
}

} // namespace quorvik
