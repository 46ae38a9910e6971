#pragma once

#include "QuorvikCore/Session/SessionStore.h"

#include <filesystem>
#include <string>
#include <vector>

namespace quorvik {

/// What the store holds, as far as it can be read.
struct Sessions {
    std::filesystem::path folder;
    std::vector<SessionStore::LoadResult> files;
    std::vector<std::string> corrupt, unsupported; ///< paths, sorted
    std::vector<std::string> failures; ///< files that the system did not let us read: why, a line each

    /// Throws FileError when the folder is there and cannot be listed.
    static Sessions load(const std::filesystem::path& folder);

    /// The records in `files`, without those that were left behind (isLeftBehind()).
    std::vector<const SessionRecord*> current() const;

    /// The records of sessions that are over: those that were left behind, and those that are idle, failed,
    /// done or ended.
    std::vector<const SessionRecord*> over() const;
};

} // namespace quorvik
