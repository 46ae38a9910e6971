#pragma once

#include "QuorvikCore/Activity/GitChanges.h"
#include "QuorvikCore/Activity/GitEventClassifier.h"
#include "QuorvikCore/Session/SessionRecord.h"

#include <filesystem>

/// What happens in repositories, as items of the island. They are records of git's that stand in no file.
namespace quorvik::GitRecords {

/// "Committed: Fix the login", done at `now`. The tool is the event's verb.
SessionRecord event(const std::filesystem::path& root, const GitEvent& event, Date now);

/// "+12 −3 in 2 files", done at `now`, with the tool "Changes" and the files with the most lines as its
/// second line.
SessionRecord changes(const std::filesystem::path& root, const ChangeSet& changes, Date now);

/// Whether that is an item of changes().
bool isChanges(const SessionRecord& record);

/// "+12 −3 in 2 files"
std::string counts(const ChangeSet& changes);

/// The difference of the file with that path in a unified difference, which may tell of it in two pieces.
/// Absent when it tells nothing of it.
std::optional<FileDiff> diffOf(std::string_view path, std::string_view output);

/// Whether the event brought changes that are worth a look: a commit, a pull, a merge and the like.
bool bringsChanges(const GitEvent& event);

} // namespace quorvik::GitRecords
