#pragma once

#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Session/Source.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace quorvik {

/// What a session is doing.
enum class SessionState {
    idle,       ///< nothing yet
    working,    ///< busy
    awaiting,   ///< an agent waits for the user: an approval or a question
    compacting, ///< an agent shortens its context
    failed,     ///< a failed command or turn
    done,       ///< a finished, successful command or turn
    ended       ///< stopped: a command by an interrupt or termination, an agent's session by its end
};

template <>
inline constexpr std::array<std::string_view, 7> rawValues<SessionState> = {
    "idle", "working", "awaiting", "compacting", "failed", "done", "ended"};

/// Where a session's terminal lives: what it takes to bring it to the front.
struct HostInfo {
    std::optional<std::string> termProgram;    ///< TERM_PROGRAM
    std::optional<std::string> termSessionID;  ///< TERM_SESSION_ID
    std::optional<std::string> itermSessionID; ///< ITERM_SESSION_ID
    bool tmux = false;                         ///< TMUX is set, even if empty
    std::optional<std::string> tty;            ///< controlling terminal, "/dev/…"
    std::optional<std::string> bundleID;       ///< __CFBundleIdentifier: the launching app's

    using Environment = std::map<std::string, std::string>;
    static HostInfo fromEnvironment(const Environment& environment, std::optional<std::string> tty);

    bool operator==(const HostInfo&) const = default;
};

/// The one description of anything that the island tracks: an agent's session, a supervised or long shell
/// command, a local service, git activity, an update. Producers write it as a JSON file (SessionStore), the
/// app reads it. Texts are UTF-8; JSON keys are the field names; docs/files.md shows the file.
struct SessionRecord {
    static constexpr std::int64_t currentSchema = 1;

    std::int64_t schemaVersion = currentSchema;
    Source source = Source::claude;
    std::string sessionID; ///< unique within its source
    std::string cwd;       ///< working folder
    SessionState state = SessionState::idle;
    std::optional<std::string> tool;      ///< current tool or command name
    std::optional<std::string> summary;   ///< one line: what is happening
    std::optional<std::string> title;     ///< task title
    std::optional<Date> turnStartedAt;    ///< start of the current turn or command
    Date stateSince{};                    ///< when `state` last changed
    Date updatedAt{};                     ///< last write
    std::optional<std::string> lastEvent; ///< last event applied: "start", "exit", an agent's event name
    HostInfo host;
    std::optional<std::int32_t> pid;           ///< process to watch for liveness
    std::optional<double> pidStartTime;        ///< its start, seconds since 1970: tells a reused pid
    std::optional<std::string> detail;         ///< second line (a failed command: its command line)
    std::optional<std::string> logPath;        ///< file with the output
    std::optional<std::string> openURL;        ///< what a click opens
    std::optional<std::int32_t> exitCode;      ///< of a finished command
    std::optional<std::string> container;      ///< a service's container
    std::optional<std::string> composeProject; ///< a service's compose project
    std::optional<std::int64_t> port;          ///< a service's listening port
    std::optional<std::string> webURL;         ///< a service's web address

    SessionRecord() = default;

    /// A fresh record: idle since `now`, everything optional absent.
    SessionRecord(Source source, std::string sessionID, std::string cwd, Date now);

    /// "<source>-<session id>": names the session among all others.
    std::string key() const;

    /// Strict: throws RecordError when a required member is missing, has a wrong type or an unknown raw
    /// value. Does not look at the schema version.
    static SessionRecord fromJSON(const RawJSON::Object& object);

    nlohmann::json toJSON() const;

    bool operator==(const SessionRecord&) const = default;
};

} // namespace quorvik
