#pragma once

#include "QuorvikCore/Session/SessionRecord.h"

#include <filesystem>

namespace quorvik {

/// Whether the session is at work or waits for its user: it has a process that will say how it ends.
bool isBusy(const SessionRecord& record);

/// Whether a busy session was left behind: its process was killed before it could say that it is over, or it
/// is awaiting an answer although all its hooks were killed (OpenRequests::anyWaiting). `folder` holds the
/// record.
bool isLeftBehind(const SessionRecord& record, const std::filesystem::path& folder);

} // namespace quorvik
