#pragma once

#include "QuorvikCore/Platform/Files.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace quorvik {

/// A file that belongs to the user, or to an agent of theirs, and that we edit: read it, work out the new
/// content, replace it. Its owner may write to it at any moment without asking us; a change made in between
/// is noticed, and left standing, at the last moment before ours would overwrite it. (What remains is the
/// time between two system calls: no system offers a rename that is conditional on content.)
class UserFile {
  public:
    /// Reads the file, through symbolic links. Throws FileError when it exists and cannot be read, is no
    /// regular file, or has more than `limit` bytes.
    static UserFile read(const std::filesystem::path& path, std::size_t limit);

    /// What the file held; absent when there was none (a link that leads nowhere counts as none).
    const std::optional<std::string>& content() const { return content_; }

    /// Replaces the content in one step: readers see the old file or the new one, whole, even after a power
    /// cut. A symbolic link stays one, and the file that it leads to is replaced. Owner, group,
    /// permissions, access control list and extended attributes stay; a new file is for its owner only
    /// (0600), and so are folders made for it. False, with nothing changed, when the file no longer holds
    /// what was read. Throws FileError, also when it cannot be told whether the path is a link or what the
    /// file's permissions are; then the file is as it was, and no temporary file is left.
    bool replace(std::string_view bytes) const;

    /// Removes the file; of a symbolic link only the link. False, with nothing changed, when the file no
    /// longer holds what was read. Throws FileError.
    bool remove() const;

    /// Whether a temporary file is a killed program's: it is older than a minute. replace() removes those
    /// that were made for the same file.
    static bool isLeftover(const Files::Status& temporary);

  private:
    UserFile(std::filesystem::path path, std::size_t limit, std::optional<std::string> content)
        : path_(std::move(path)), limit_(limit), content_(std::move(content)) {}

    bool isUnchanged() const;

    std::filesystem::path path_;
    std::size_t limit_;
    std::optional<std::string> content_;
};

} // namespace quorvik
