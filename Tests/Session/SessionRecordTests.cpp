#include "QuorvikCore/Session/SessionRecord.h"

#include <gtest/gtest.h>

namespace quorvik {

namespace {

constexpr const char* minimal =
    R"({"cwd":"/w","host":{"tmux":false},"schemaVersion":1,"sessionID":"s","source":"git","state":"idle",)"
    R"("stateSince":1.0,"updatedAt":2.5})";

std::optional<SessionRecord> decoded(const nlohmann::json& value) {
    const std::string text = value.dump();
    const auto object = RawJSON::object(text);
    if (!object) return std::nullopt;
    try {
        return SessionRecord::fromJSON(*object);
    } catch (const RecordError&) {
        return std::nullopt;
    }
}

} // namespace

TEST(SessionRecord, MinimalAndFullRecordsSurviveUnchanged) {
    SessionRecord record(Source::git, "s", "/w", dateFromSeconds(1));
    record.updatedAt = dateFromSeconds(2.5);
    EXPECT_EQ(printJSON(record.toJSON()), minimal);
    EXPECT_EQ(decoded(*parseJSON(minimal)), record);

    record = SessionRecord(Source::service, "id \"\n好", "/a b", dateFromSeconds(1763695000.123456));
    record.state = SessionState::compacting;
    record.tool = "t";
    record.summary = "";
    record.title = "ti";
    record.turnStartedAt = dateFromSeconds(0.1);
    record.lastEvent = "e";
    record.host = {"a", "b", "c", true, "/dev/ttys001", "d"};
    record.pid = -1;
    record.pidStartTime = 1e9 + 0.25;
    record.detail = "de";
    record.logPath = "lp";
    record.openURL = "ou";
    record.exitCode = 127;
    record.container = "co";
    record.composeProject = "cp";
    record.port = 65536;
    record.webURL = "wu";
    EXPECT_EQ(decoded(*parseJSON(printJSON(record.toJSON()))), record);
}

TEST(SessionRecord, IsReadStrictly) {
    const auto expectReadable = [](bool readable, const nlohmann::json& changes) {
        for (const auto& [key, values] : changes.items()) {
            for (const nlohmann::json& value : values) {
                nlohmann::json object = *parseJSON(minimal);
                object[key] = value;
                EXPECT_EQ(decoded(object).has_value(), readable) << object;
            }
        }
    };
    // Dates are any number; absent members may be null.
    expectReadable(true,
                   *parseJSON(R"({"host":[{"tmux":true,"tty":null}],"stateSince":[12],"turnStartedAt":[null],
        "pid":[2147483647],"exitCode":[-2147483648],"unknown":[1]})"));
    expectReadable(false, *parseJSON(R"({"cwd":[null,1],"host":["x",{},{"tmux":0},{"tmux":true,"tty":1}],
        "schemaVersion":["1"],"source":["Claude",3],"state":["paused"],"stateSince":["12"],"turnStartedAt":[true],
        "pid":[2147483648,1.5],"exitCode":[-2147483649],"port":[18446744073709551615],"tool":[1]})"));
    const nlohmann::json whole = *parseJSON(minimal);
    for (const auto& [key, value] : whole.items()) {
        nlohmann::json object = whole;
        object.erase(key);
        EXPECT_FALSE(decoded(object)) << key;
    }
    EXPECT_FALSE(decoded(nlohmann::json::array()));
}

TEST(SessionRecord, SourcesAndTheirAbilities) {
    std::string approvals, questions, early;
    for (const Source source : allSources()) {
        EXPECT_EQ(fromRawValue<Source>(rawValue(source)), source);
        if (supportsApprovals(source)) approvals += mark(source);
        if (supportsQuestions(source)) questions += mark(source);
        if (asksOnPreToolUse(source)) early += mark(source);
    }
    EXPECT_EQ(approvals, "CCCXDVQWCP");
    EXPECT_EQ(questions, "CCGK");
    EXPECT_EQ(early, "GK");
}

TEST(HostInfo, ComesFromTheEnvironment) {
    EXPECT_EQ(HostInfo::fromEnvironment({}, std::nullopt), HostInfo());
    const HostInfo expected{"p", "t", "i", true, "/dev/x", "b"};
    EXPECT_EQ(HostInfo::fromEnvironment({{"TERM_PROGRAM", "p"},
                                         {"TERM_SESSION_ID", "t"},
                                         {"ITERM_SESSION_ID", "i"},
                                         {"TMUX", ""},
                                         {"__CFBundleIdentifier", "b"}},
                                        "/dev/x"),
              expected);
}

} // namespace quorvik
