#pragma once

#include "quorvik_island/Doctor/Check.h"

#include "QuorvikCore/JSON/RecordCoding.h"

#include <filesystem>
#include <vector>

/// The support folder and what stands in it. The ids begin with "folder.".
namespace quorvik::Doctor::FolderChecks {

/// Temporary files of ours that nobody will rename into place any more: their writers were killed an hour ago
/// or longer. They stand in the support folder, and beside the users' files that we edit. Files only, with
/// the names that we give, and of this user.
std::vector<std::filesystem::path> leftBehind(Date now);

/// With `fix`, removes what leftBehind() tells, and nothing else.
void run(bool fix, Findings& findings);

} // namespace quorvik::Doctor::FolderChecks
