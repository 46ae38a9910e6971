#pragma once

#include <filesystem>
#include <optional>
#include <string>

/// What a session waits for its user for: the requests that were put to the app and are not settled. A hook
/// that waits for the answer is told by nobody that the user gave it in the agent's own interface; but when
/// the tool has run, another hook hears of it and strikes the request off, and the waiting one notices. A
/// small file beside the record ("<record>.asked"), there only while somebody waits.
///
/// All but isOpen() are called under the record's lock (SessionStore::update). Files that cannot be read or
/// written count as empty: then nobody is told, and the wait ends by itself.
namespace quorvik::OpenRequests {

using Path = std::filesystem::path;

/// `tool` and `summary` (HookEvent's) are how the request is known again when its tool has run.
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

bool isOpen(const Path& record, const std::string& id);

} // namespace quorvik::OpenRequests
