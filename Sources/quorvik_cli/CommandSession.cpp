#include "quorvik_cli/CommandSession.h"

#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <csignal>

namespace quorvik::CommandSession {

/// How long to wait for the record's lock. A writer needs a millisecond; one that was stopped while it held
/// the lock must not hold up a command.
constexpr std::chrono::seconds storePatience(2);

Date now() {
    return std::chrono::system_clock::now();
}

std::string commandLine(std::span<const std::string> words) {
    std::string line;
    for (std::size_t index = 0; index < words.size(); ++index)
        line += (index == 0 ? "" : " ") + words[index];
    return line;
}

std::string currentFolder() {
    std::error_code unknown;
    return std::filesystem::current_path(unknown).string();
}

bool wasStopped(int status) {
    return status == 128 + SIGINT || status == 128 + SIGTERM;
}

void publish(const std::string& sessionID, const std::string& cwd, Date now,
             const std::function<void(SessionRecord&)>& step) {
    try {
        SessionStore::update(
            Source::build, sessionID, QuorvikPaths::sessionsDirectory(),
            [&](std::optional<SessionRecord>& record) {
                if (!record) record.emplace(Source::build, sessionID, cwd, now);
                step(*record);
            },
            storePatience);
    } catch (const std::exception&) {
        // The island then does not show this step.
    }
    SessionStore::postChangeNotification();
}

} // namespace quorvik::CommandSession
