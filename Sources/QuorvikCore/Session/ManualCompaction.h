#pragma once

#include "QuorvikCore/Session/SessionRecord.h"

#include <filesystem>

/// What a session was doing before its user had the context shortened, between two turns. When that is over
/// the session does it again, though agents say then only what they say after one that interrupts a turn. A
/// small file beside the record ("<record>.before"), there only meanwhile; called under the record's lock.
///
/// Files that cannot be read or written are nobody's trouble: the session then counts as working.
namespace quorvik::ManualCompaction {

using Path = std::filesystem::path;

/// It begins. A record that is compacting already is not what is to come back.
void begin(const Path& file, const SessionRecord& record);

/// It is over: `record`, compacting, gets back its state, and since when.
void end(const Path& file, SessionRecord& record);

void forget(const Path& file);

} // namespace quorvik::ManualCompaction
