#pragma once

#include "QuorvikCore/Platform/FileDescriptor.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace quorvik {

/// A regular file of which parts are read, for files that are too large to be read whole.
class PartlyReadFile {
  public:
    /// Absent when it cannot be opened or is no regular file.
    static std::optional<PartlyReadFile> open(const std::filesystem::path& path);

    /// The bytes from `offset` on; fewer than `length` where the file ends, or cannot be read any further.
    std::string read(std::uint64_t offset, std::size_t length) const;

  private:
    explicit PartlyReadFile(FileDescriptor file) : file_(std::move(file)) {}
    FileDescriptor file_;
};

} // namespace quorvik
