#include "quorvik_island/Terminal/Example.h"

namespace quorvik::Example {

namespace {

struct Stage {
    SessionState state;
    DisplayState display;
    const char* tool;
    const char* summary;
};
constexpr Stage script[stages] = {
    {SessionState::working, DisplayState::working, "Read", "src/login.cpp"},
    {SessionState::working, DisplayState::working, "Edit", "src/login.cpp"},
    {SessionState::awaiting, DisplayState::awaiting, "Bash", "make test"},
    {SessionState::working, DisplayState::working, "Bash", "make test"},
    {SessionState::done, DisplayState::done, "Bash", "The login works again."},
};

SnapshotItem item(SessionRecord record, DisplayState display) {
    return {std::make_shared<const SessionRecord>(std::move(record)), display, false};
}

} // namespace

Snapshot snapshot(std::size_t stage, Date now) {
    const Stage& at = script[stage % stages];
    SessionRecord agent(Source::claude, "example", "/example", now);
    agent.state = at.state;
    agent.tool = at.tool;
    agent.summary = at.summary;
    agent.title = "Fix the login bug (an example)";
    SessionRecord command(Source::build, "example-make", "/example", now);
    command.state = SessionState::working;
    command.tool = "make";
    command.summary = "make -j8 all";

    Snapshot snapshot;
    snapshot.primary = item(std::move(agent), at.display);
    snapshot.bubbles.push_back(item(std::move(command), DisplayState::working));
    if (stage % stages == waitingStage) {
        WaitingRequest waiting;
        waiting.request.id = requestID;
        waiting.request.sessionID = "example";
        waiting.request.cwd = "/example";
        waiting.request.tool = at.tool;
        waiting.request.input = R"({"command":"make test","description":"Run the tests"})";
        waiting.receivedAt = now;
        snapshot.requests.push_back(std::make_shared<const WaitingRequest>(std::move(waiting)));
    }
    return snapshot;
}

} // namespace quorvik::Example
