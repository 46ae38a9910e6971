#pragma once

#include "QuorvikCore/Session/SessionRecord.h"

#include <filesystem>
#include <optional>
#include <string>

/// The requests of one session that were put to the app and are not settled. When the user answers in the
/// agent's own interface, nobody tells the hook that waits for the app. But once the tool has run, another
/// hook hears of it and strikes the request off here, and the waiting hook sees that. The requests are a
/// small file beside the record ("<record>.asked"), which exists only while a hook waits.
///
/// Each request holds the process of its hook (number and start time). A killed hook could not strike its
/// request off, so a request whose process is gone counts for nothing; the next change of the file removes
/// it.
///
/// The functions that change the file are called under the record's lock (SessionStore::update). For them a
/// file that cannot be read counts as empty; a file that cannot be written stays as it was, without an error,
/// and the wait then ends by its own time limit. isOpen() and anyWaiting() need no lock.
namespace quorvik::OpenRequests {

using Path = std::filesystem::path;

/// Adds a request of the calling process. `tool` and `summary` (HookEvent's) identify it when its tool has
/// run.
void add(const Path& record, const std::string& id, const std::optional<std::string>& tool,
         const std::optional<std::string>& summary);

/// The tool has run: strikes off the oldest request of that tool and summary. An absent summary fits every
/// request of the tool.
void toolHasRun(const Path& record, const std::optional<std::string>& tool,
                const std::optional<std::string>& summary);

/// The turn is over, or a whole batch of tools has run: strikes off all requests.
void clear(const Path& record);

/// Strikes one request off. Returns whether others remain.
bool strikeOff(const Path& record, const std::string& id);

/// Strikes off the requests of hooks that are gone. Called before a record is left `awaiting`: when the agent
/// asks by itself, no hook takes part, and a dead hook's request would make anyWaiting() false.
void strikeOffDead(const Path& record);

/// Whether the request is not settled. A file that is there but cannot be read settles nothing.
bool isOpen(const Path& record, const std::string& id);

/// Whether the session of a record in `folder` waits for its user. False when it is not `awaiting`, and when
/// it is, but every hook that asked was killed: agents do that when the user withdraws the request. True when
/// no hook asked: then the agent asks in its own interface.
bool anyWaiting(const SessionRecord& record, const Path& folder);

} // namespace quorvik::OpenRequests
