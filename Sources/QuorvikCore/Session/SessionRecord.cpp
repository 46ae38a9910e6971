#include "QuorvikCore/Session/SessionRecord.h"

namespace quorvik {

HostInfo HostInfo::fromEnvironment(const Environment& environment, std::optional<std::string> tty) {
    const auto value = [&](const char* name) -> std::optional<std::string> {
        const auto found = environment.find(name);
        if (found == environment.end()) return std::nullopt;
        return found->second;
    };
    HostInfo host;
    host.termProgram = value("TERM_PROGRAM");
    host.termSessionID = value("TERM_SESSION_ID");
    host.itermSessionID = value("ITERM_SESSION_ID");
    host.tmux = environment.contains("TMUX");
    host.tty = std::move(tty);
    host.bundleID = value("__CFBundleIdentifier");
    return host;
}

SessionRecord::SessionRecord(Source source_, std::string sessionID_, std::string cwd_, Date now)
    : source(source_), sessionID(std::move(sessionID_)), cwd(std::move(cwd_)), stateSince(now),
      updatedAt(now) {}

std::string SessionRecord::key() const {
    return std::string(rawValue(source)) + "-" + sessionID;
}

namespace {

HostInfo hostFromJSON(std::string_view value) {
    const auto object = RawJSON::object(value);
    if (!object) throw RecordError("host has the wrong type");
    const RecordReader reader(*object);
    HostInfo host;
    reader.optional("termProgram", host.termProgram);
    reader.optional("termSessionID", host.termSessionID);
    reader.optional("itermSessionID", host.itermSessionID);
    reader.required("tmux", host.tmux);
    reader.optional("tty", host.tty);
    reader.optional("bundleID", host.bundleID);
    return host;
}

nlohmann::json hostToJSON(const HostInfo& host) {
    nlohmann::json object = {{"tmux", host.tmux}};
    writeOptional(object, "termProgram", host.termProgram);
    writeOptional(object, "termSessionID", host.termSessionID);
    writeOptional(object, "itermSessionID", host.itermSessionID);
    writeOptional(object, "tty", host.tty);
    writeOptional(object, "bundleID", host.bundleID);
    return object;
}

} // namespace

SessionRecord SessionRecord::fromJSON(const RawJSON::Object& object) {
    const RecordReader reader(object);
    SessionRecord record;
    reader.required("schemaVersion", record.schemaVersion);
    reader.required("source", record.source);
    reader.required("sessionID", record.sessionID);
    reader.required("cwd", record.cwd);
    reader.required("state", record.state);
    reader.optional("tool", record.tool);
    reader.optional("summary", record.summary);
    reader.optional("title", record.title);
    reader.optional("turnStartedAt", record.turnStartedAt);
    reader.required("stateSince", record.stateSince);
    reader.required("updatedAt", record.updatedAt);
    reader.optional("lastEvent", record.lastEvent);
    const std::string_view* host = reader.member("host");
    if (!host) throw RecordError("host is missing");
    record.host = hostFromJSON(*host);
    reader.optional("pid", record.pid);
    reader.optional("pidStartTime", record.pidStartTime);
    reader.optional("detail", record.detail);
    reader.optional("logPath", record.logPath);
    reader.optional("openURL", record.openURL);
    reader.optional("exitCode", record.exitCode);
    reader.optional("container", record.container);
    reader.optional("composeProject", record.composeProject);
    reader.optional("port", record.port);
    reader.optional("webURL", record.webURL);
    return record;
}

nlohmann::json SessionRecord::toJSON() const {
    nlohmann::json object = {
        {"schemaVersion", schemaVersion},
        {"source", rawValue(source)},
        {"sessionID", sessionID},
        {"cwd", cwd},
        {"state", rawValue(state)},
        {"stateSince", secondsSince1970(stateSince)},
        {"updatedAt", secondsSince1970(updatedAt)},
        {"host", hostToJSON(host)},
    };
    writeOptional(object, "tool", tool);
    writeOptional(object, "summary", summary);
    writeOptional(object, "title", title);
    writeOptional(object, "turnStartedAt", turnStartedAt);
    writeOptional(object, "lastEvent", lastEvent);
    writeOptional(object, "pid", pid);
    writeOptional(object, "pidStartTime", pidStartTime);
    writeOptional(object, "detail", detail);
    writeOptional(object, "logPath", logPath);
    writeOptional(object, "openURL", openURL);
    writeOptional(object, "exitCode", exitCode);
    writeOptional(object, "container", container);
    writeOptional(object, "composeProject", composeProject);
    writeOptional(object, "port", port);
    writeOptional(object, "webURL", webURL);
    return object;
}

} // namespace quorvik
