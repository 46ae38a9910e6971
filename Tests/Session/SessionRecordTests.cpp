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
    struct Case {
        const char* key;
        nlohmann::json value; ///< discarded: the member is left out
        bool readable;
    };
    const nlohmann::json missing = nlohmann::json::value_t::discarded;
    for (const auto& [key, value, readable] : std::initializer_list<Case>{
             {"cwd", missing, false},
             {"host", missing, false},
             {"schemaVersion", missing, false},
             {"sessionID", missing, false},
             {"source", missing, false},
             {"state", missing, false},
             {"stateSince", missing, false},
             {"updatedAt", missing, false},
             {"cwd", nullptr, false},
             {"cwd", 1, false},
             {"host", "x", false},
             {"host", nlohmann::json::object(), false}, // tmux is required
             {"host", {{"tmux", 0}}, false},
             {"host", {{"tmux", true}, {"tty", 1}}, false},
             {"host", {{"tmux", true}, {"tty", nullptr}}, true},
             {"schemaVersion", "1", false},
             {"source", "Claude", false},
             {"source", 3, false},
             {"state", "paused", false},
             {"stateSince", 12, true}, // dates are any number
             {"stateSince", "12", false},
             {"turnStartedAt", nullptr, true},
             {"turnStartedAt", true, false},
             {"pid", 2147483647, true},
             {"pid", 2147483648, false},
             {"pid", 1.5, false},
             {"exitCode", -2147483648, true},
             {"exitCode", -2147483649, false},
             {"port", 18446744073709551615u, false},
             {"tool", 1, false},
             {"unknown", 1, true},
         }) {
        nlohmann::json object = *parseJSON(minimal);
        if (value.is_discarded())
            object.erase(key);
        else
            object[key] = value;
        EXPECT_EQ(decoded(object).has_value(), readable) << object;
    }
    EXPECT_FALSE(decoded(nlohmann::json::array()));
}

TEST(SessionRecord, SourcesAndTheirAbilities) {
    EXPECT_EQ(allSources().size(), 13u);
    EXPECT_EQ(agentSources().size(), 9u);
    std::string approvals, questions, early;
    for (const Source source : allSources()) {
        EXPECT_EQ(fromRawValue<Source>(rawValue(source)), source);
        EXPECT_EQ(mark(source).size(), isAgent(source) ? 2u : 3u);
        if (supportsApprovals(source)) approvals += mark(source);
        if (supportsQuestions(source)) questions += mark(source);
        if (asksOnPreToolUse(source)) early += mark(source);
    }
    EXPECT_EQ(approvals, "CCCXDVQWCP");
    EXPECT_EQ(questions, "CCGK");
    EXPECT_EQ(early, "GK");
    EXPECT_EQ(displayName(Source::grok), "Grok Build");
    EXPECT_EQ(displayName(Source::update), "Updates");
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
