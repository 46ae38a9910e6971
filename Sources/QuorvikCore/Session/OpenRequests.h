#pragma once

#include "QuorvikCore/Session/SessionRecord.h"

#include <filesystem>
#include <optional>
#include <string>

/// What a session waits for its user for: the requests that were put to the app and are not settled. A hook
/// that waits for the answer is told by nobody that the user gave it in the agent's own interface; but when
/// the tool has run, another hook hears of it and strikes the request off, and the waiting one notices. A
/// small file beside the record ("<record>.asked"), there only while somebody waits.
///
/// Each request knows the process of its hook (number and start time). A hook that was killed could not
/// strike its request off: such a request counts for nothing, and goes with the next change of the file.
///
/// The functions that change something are called under the record's lock (SessionStore::update). For them a
/// file that cannot be read counts as empty; one that cannot be written stays as it was. Then nobody is told,
/// and the wait ends by itself. The questions isOpen() and anyWaiting() need no lock.
namespace quorvik::OpenRequests {

using Path = std::filesystem::path;

/// A request of the calling process. `tool` and `summary` (HookEvent's) are how it is known again when its
/// tool has run.
void add(const Path& record, const std::string& id, const std::optional<std::string>& tool,
         const std::optional<std::string>& summary);

/// The tool has run: strikes off the oldest request of that tool and summary. An event that has no summary
/// speaks of any request of its tool.
void toolHasRun(const Path& record, const std::optional<std::string>& tool,
                const std::optional<std::string>& summary);

/// The turn is over, or a whole batch of tools has run.
void clear(const Path& record);

/// Strikes one off; returns whether others remain.
bool strikeOff(const Path& record, const std::string& id);

/// Strikes off the requests of hooks that are gone. To be called before a record is left awaiting, so that a
/// wait which no hook takes part in (the agent asks by itself) is not taken for one whose hooks were killed.
void strikeOffDead(const Path& record);

/// Whether the request is not settled. A file that is there but cannot be read settles nothing.
bool isOpen(const Path& record, const std::string& id);

/// Whether the session of a record in `folder` waits for its user. False when it is not `awaiting`, and when
/// it is, but every hook that asked was killed: agents do that when the user withdraws the request. True when
/// no hook asked: then the agent asks in its own interface.
bool anyWaiting(const SessionRecord& record, const Path& folder);

} // namespace quorvik::OpenRequests
