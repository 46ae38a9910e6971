#pragma once

#include <filesystem>
#include <string_view>
#include <system_error>

namespace quorvik {

/// A file operation that failed. what() says what was tried, on which path, and why, in one line:
/// "could not rename /a/b: No space left on device". code() is the system's error number.
class FileError : public std::system_error {
  public:
    FileError(std::string_view action, const std::filesystem::path& path, int errorNumber);

    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

} // namespace quorvik
