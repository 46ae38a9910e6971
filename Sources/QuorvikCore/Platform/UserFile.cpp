#include "QuorvikCore/Platform/UserFile.h"

#include "QuorvikCore/Platform/FileAttributes.h"
#include "QuorvikCore/Platform/FileDescriptor.h"
#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
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
        std::error_code notALink;
        const Path target = std::filesystem::read_symlink(path, notALink);
        if (notALink) return path;
        if (links == mostLinks) throw FileError("follow", path, ELOOP);
        path = path.parent_path() / target;
    }
}

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
        : target_(target), path_(target.native() + "." + std::to_string(::getpid()) + ".quorvik.tmp") {
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

    void takeOwnerAndPermissions() {
        struct stat wanted, own;
        if (::stat(target_.c_str(), &wanted) != 0) return; // a new file: as it was created
        require(::fstat(file_.get(), &own) == 0, "examine");
        mode_t mode = wanted.st_mode & 07777;
        if (own.st_uid != wanted.st_uid)
            require(::fchown(file_.get(), wanted.st_uid, static_cast<gid_t>(-1)) == 0, "set the owner of");
        // A group that the user does not belong to cannot be given back; another one gets no access instead.
        if (own.st_gid != wanted.st_gid && ::fchown(file_.get(), static_cast<uid_t>(-1), wanted.st_gid) != 0)
            mode &= ~mode_t{070};
        require(::fchmod(file_.get(), mode) == 0, "set the permissions of");
        // A list would give the group what the mode has just taken from it.
        const bool keepsGroup = mode == (wanted.st_mode & 07777);
        const FileDescriptor old(::open(target_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
        require(old && Platform::copyAttributes(old.get(), file_.get(), keepsGroup), "set the attributes of");
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

} // namespace

UserFile UserFile::read(const Path& path, std::size_t limit) {
    return UserFile(path, limit, contentOf(path, limit));
}

bool UserFile::isUnchanged() const {
    return contentOf(path_, limit_) == content_;
}

bool UserFile::replace(std::string_view bytes) const {
    const Path target = resolved(path_);
    if (!content_) Files::createPrivateFolder(target.parent_path());
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
