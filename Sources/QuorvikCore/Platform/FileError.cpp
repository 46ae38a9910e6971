#include "QuorvikCore/Platform/FileError.h"

namespace quorvik {

FileError::FileError(std::string_view action, const std::filesystem::path& path, int errorNumber)
    : std::system_error(errorNumber, std::generic_category(),
                        "could not " + std::string(action) + " " + path.string()),
      path_(path) {}

} // namespace quorvik
