#pragma once

#include "QuorvikApp/Model/Snapshot.h"

#include <functional>
#include <string>

namespace quorvik::testing {

inline const Date exampleNow = dateFromSeconds(1'795'240'000);

/// An item that has been in its state for so many seconds.
inline SnapshotItem itemOf(Source source, const std::string& id, DisplayState display, double seconds,
                           const std::function<void(SessionRecord&)>& change = {}) {
    SessionRecord record(source, id, "/home/u/work/app", exampleNow - std::chrono::duration<double>(seconds));
    if (change) change(record);
    return {std::make_shared<const SessionRecord>(std::move(record)), display, false};
}

/// A request of that session of Claude's.
inline std::shared_ptr<WaitingRequest> requestOf(const std::string& id, const std::string& session,
                                                 const std::string& tool, const std::string& input) {
    auto waiting = std::make_shared<WaitingRequest>();
    waiting->request = {.id = id, .sessionID = session, .cwd = "/home/u/work/app"};
    waiting->request.tool = tool;
    waiting->request.input = input;
    waiting->members = printJSON(waiting->request.toJSON());
    return waiting;
}

/// An agent that waits, a failed build, another agent at work and a server; and a request of a session that
/// has no item.
inline Snapshot exampleSnapshot() {
    Snapshot snapshot;
    snapshot.primary = itemOf(Source::claude, "s1", DisplayState::awaiting, 8, [](SessionRecord& record) {
        record.title = "Fix the login bug";
        record.tool = "Bash";
        record.summary = "git push --force origin main";
    });
    snapshot.bubbles = {
        itemOf(Source::build, "b", DisplayState::failed, 125,
               [](SessionRecord& record) {
                   record.tool = "make";
                   record.summary = "src/app.cpp:41:2: error: expected ‘}’ at end of input";
               }),
        itemOf(Source::codex, "c", DisplayState::working, 310,
               [](SessionRecord& record) {
                   record.title = "Write the docs";
                   record.summary = "git log --oneline v1.4..";
               }),
    };
    snapshot.overflow = {itemOf(Source::service, "v", DisplayState::done, 3700, [](SessionRecord& record) {
        record.title = ":5173";
        record.summary = "vite, ~/work/app";
    })};
    const auto first = requestOf("r1", "s1", "Bash", R"({"command":"git push --force origin main"})");
    first->grants = {"allow Bash commands that match git push:* in this project"};
    const auto second = requestOf("r2", "s1", "Edit",
                                  R"({"file_path":"a.cpp","old_string":"one\ntwo","new_string":"one\n2"})");
    snapshot.requests = {first, second};
    return snapshot;
}

} // namespace quorvik::testing
