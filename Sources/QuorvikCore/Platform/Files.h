#pragma once

#include "QuorvikCore/Platform/FileDescriptor.h"

#include <sys/types.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace quorvik::Files {

/// The whole content of a regular file of at most `limit` bytes. Absent when it cannot be read, is not a
/// regular file (a named pipe would block its reader) or is larger; `error`, when given, then says why.
std::optional<std::string> read(const std::filesystem::path& path, std::size_t limit,
                                std::error_code* error = nullptr);

/// Bytes of a stream. Kept on the C heap, where a large block grows without being copied and without touching
/// memory before it is needed, unlike in a std::string: payloads of megabytes pass through processes of a
/// millisecond.
class StreamContent {
  public:
    std::string_view text() const { return {bytes_.get(), size_}; }

  private:
    friend std::optional<StreamContent> readStream(int descriptor, std::size_t limit);
    struct Free {
        void operator()(char* bytes) const { std::free(bytes); }
    };
    std::unique_ptr<char, Free> bytes_;
    std::size_t size_ = 0;
};

/// What a stream (a pipe, standard input) gives until its end. Absent when reading fails or there is more
/// than `limit` bytes.
std::optional<StreamContent> readStream(int descriptor, std::size_t limit);

/// Creates the folder and its missing parents, for the owner only (0700). An existing folder is left as it
/// is, permissions included. Throws FileError.
void createPrivateFolder(const std::filesystem::path& path);

/// An empty file for writing, readable and writable by its owner only (0600); an existing one is emptied, a
/// symbolic link refused. Empty when it cannot be made.
FileDescriptor createPrivate(const std::filesystem::path& path);

/// Replaces `target` in one step: readers see the old content or the new one, never a part. The bytes go to
/// `temporary` (in the same folder; an old one is overwritten, a symbolic link refused), which gets exactly
/// `permissions` and is renamed over the target. Throws FileError, leaving the target as it was and no
/// temporary file. Not synced to the disk: meant for short-lived state.
void replace(const std::filesystem::path& target, std::string_view bytes,
             const std::filesystem::path& temporary, mode_t permissions);

/// "make" of "/usr/bin/make" and of "make/"; "/" of "/".
std::string lastComponent(std::string_view path);

/// Whether this user may run the file as a program.
bool isExecutable(const std::filesystem::path& path);

/// What a directory listing shows of a file.
struct Status {
    std::int64_t modified; ///< nanoseconds since 1970; a time before 1684 or after 2255 is moved there
    std::uint64_t size;    ///< bytes
    bool regular;          ///< a file, not a folder, pipe or device
};

/// Lists one folder, in the system's order, and reads its files without looking up their paths again.
class Folder {
  public:
    /// Absent when the folder cannot be listed.
    static std::optional<Folder> open(const std::filesystem::path& path);

    Folder(Folder&&) noexcept;
    Folder& operator=(Folder&&) noexcept;
    ~Folder();

    /// The next entry's name, valid until the next call; null at the end, and when listing fails (error()).
    /// "." and ".." are entries too.
    const char* next();

    /// Why next() came to its end; no error when everything was listed.
    std::error_code error() const { return {errorNumber_, std::generic_category()}; }

    /// Follows symbolic links. Absent when the entry vanished.
    std::optional<Status> status(const char* name) const;

    /// As Files::read, for the entry that next() gave last. Asks for no status where the listing tells
    /// already that it is a regular file.
    std::optional<std::string> readEntry(std::size_t limit) const;

    /// As Files::read, for an entry of this folder whose status is known: one system call less.
    std::optional<std::string> read(const char* name, const Status& status, std::size_t limit) const;

  private:
    struct Closer {
        void operator()(void* stream) const;
    };
    explicit Folder(void* stream) : stream_(stream) {}
    std::unique_ptr<void, Closer> stream_;
    const void* entry_ = nullptr; ///< the last one, in the stream's memory
    int errorNumber_ = 0;
};

} // namespace quorvik::Files
