#pragma once

#include "QuorvikCore/Session/SessionRecord.h"

#include <filesystem>

/// Restores a session's state after a compaction that the user asked for between two turns. An agent reports
/// its end as it reports the end of a compaction within a turn, after which the session works; but here the
/// session must go back to what it was, such as idle. So its state is kept in a small file beside the record
/// ("<record>.before") while the compaction lasts. `file` is the record's file; all functions are called
/// under the record's lock.
///
/// Errors of reading or writing are not reported: the session then counts as working.
namespace quorvik::ManualCompaction {

using Path = std::filesystem::path;

/// The compaction begins: keeps the state of `record`, and since when it holds. Does nothing when the record
/// is compacting already, since that state is not to come back.
void begin(const Path& file, const SessionRecord& record);

/// The compaction is over: gives a `record` that is compacting its former state back, and since when that
/// held. The kept state is then deleted.
void end(const Path& file, SessionRecord& record);

/// Deletes the kept state, if there is one.
void forget(const Path& file);

} // namespace quorvik::ManualCompaction
