#include "Tests/Support/RunningApp.h"
#include "Tests/Terminal/ExampleSnapshots.h"

#include <gtest/gtest.h>

namespace quorvik {

/// Keys go in and what is to be seen comes out, through the real program and without an app.
class KeyTests : public testing::AppTest {
  protected:
    using JSON = nlohmann::json;

    /// One state for each line of input.
    static std::vector<JSON> drive(const std::vector<JSON>& lines) {
        std::string input;
        for (const JSON& line : lines)
            input += printJSON(line) + "\n";
        const auto result =
            testing::Program::run({testing::programPath("quorvik-island"), "--json-ui"}, input);
        EXPECT_EQ(result.status, 0) << result.errors;
        std::vector<JSON> states;
        std::istringstream output(result.output);
        for (std::string line; std::getline(output, line);)
            states.push_back(parseJSON(line).value_or(nullptr));
        EXPECT_EQ(states.size(), lines.size());
        states.resize(lines.size());
        return states;
    }

    static JSON stateOf(const Snapshot& snapshot) {
        return parseJSON(SnapshotWriter().text(snapshot)).value();
    }

    static std::string textOf(const JSON& state) {
        std::string text;
        for (const JSON& line : state["frame"])
            text += line.get<std::string>() + "\n";
        return text;
    }
};

TEST_F(KeyTests, MoveUnfoldFilterAndAct) {
    struct Row {
        std::vector<std::string> keys;
        const char* member;
        JSON expected;
    };
    const std::vector<Row> rows = {
        {{"j"}, "selected", "build-b"},
        {{"Down", "j", "j", "j"}, "selected", "service-v"},
        {{"k"}, "selected", "codex-c"},
        {{"Enter"}, "unfolded", {"codex-c"}},
        {{"Esc"}, "unfolded", JSON::array()},
        {{"x"}, "effects", JSON::array({{{"kind", "acknowledge"}, {"id", "codex-c"}}})},
        {{"p"}, "effects", JSON::array({{{"kind", "pick"}, {"id", "codex-c"}}})},
        {{"g", "p"}, "effects", JSON::array({{{"kind", "unpick"}, {"id", "claude-s1"}}})},
        {{"G", "o"}, "effects", JSON::array({{{"kind", "open"}, {"id", "service-v"}}})},
        {{"/", "m", "A", "x", "Backspace"}, "typed", "mA"},
        {{"Enter"}, "filter", "mA"}, // the failed make; what waits is never filtered away
        {{"G"}, "selected", "build-b"},
        {{"Esc"}, "filter", ""},
        {{"?"}, "mode", "help"},
        {{"q"}, "mode", "items"}, // every key goes back, and nothing more
        {{"Ctrl-Z"}, "effects", JSON::array({{{"kind", "suspend"}}})},
        {{"n"}, "selected", "claude-s1"},
    };
    std::vector<JSON> lines = {{{"time", 1'795'240'000}, {"snapshot", stateOf(testing::exampleSnapshot())}}};
    for (const Row& row : rows)
        lines.push_back({{"keys", row.keys}});
    lines.push_back({{"keys", {{{"name", "Click"}, {"row", 1}}}}});
    lines.push_back({{"keys", 7}});
    lines.push_back("no object");
    const auto states = drive(lines);
    for (std::size_t index = 0; index < rows.size(); ++index)
        EXPECT_EQ(states[index + 1][rows[index].member], rows[index].expected) << index << states[index + 1];
    EXPECT_EQ(states[0]["card"]["request"], "r1");
    EXPECT_EQ(states[rows.size()]["card"]["request"], "r2");
    EXPECT_EQ(states.back()["message"], "that is no JSON object");
}

TEST_F(KeyTests, NothingIsAnsweredByAKeyMeantForSomethingElse) {
    Snapshot snapshot = testing::exampleSnapshot();
    const JSON both = stateOf(snapshot);
    snapshot.requests.erase(snapshot.requests.begin());
    const JSON second = stateOf(snapshot);
    const auto states = drive({
        {{"time", 1000}, {"snapshot", both}, {"keys", {"a"}}},     // before it was drawn
        {{"time", 1000.3}, {"keys", {"a", "A", "t", "d"}}},        // too soon
        {{"time", 1000.4}, {"snapshot", second}, {"keys", {"a"}}}, // another card stands there now
        {{"time", 1000.7}, {"keys", {"a"}}},                       // for less than a third of a second
        {{"time", 1000.9}, {"keys", {"a"}}},                       // the one before started the wait anew
        {{"time", 1001.3}, {"keys", {"A"}}},                       // nothing to keep
        {{"time", 1001.4}, {"keys", {"d", "n", "o"}}},             // still typing
        {{"time", 1002}, {"snapshot", both}, {"keys", {"Enter"}}}, // that one is still meant
        {{"time", 1003}, {"resize", {3, 20}}, {"keys", {"j"}}},    // no room for the card
        {{"time", 1005}, {"keys", {"a"}}},
    });
    for (std::size_t index = 0; index < states.size(); ++index)
        EXPECT_EQ(states[index]["effects"].size(), index == 7 ? 1 : 0) << index << states[index];
    EXPECT_EQ(states[6]["mode"], "reason");
    EXPECT_EQ(
        states[7]["effects"][0],
        (JSON{{"kind", "answer"}, {"id", "r2"}, {"response", {{"decision", "deny"}, {"message", "no"}}}}));
}

TEST_F(KeyTests, QuestionsAreAnsweredOneAfterTheOther) {
    Snapshot snapshot;
    const auto asked = testing::requestOf("q", "s", "AskUserQuestion", "{}");
    asked->request.questions = {
        {.question = "Which?", .options = {{"Red", "warm"}, {"Blue", ""}}},
        {.question = "Sizes?", .options = {{"S", ""}, {"L, XL", ""}, {"M", ""}}, .multiSelect = true},
        {.question = "Why?", .options = {{"Because", ""}}}};
    asked->request.questionsJSON = "[]";
    asked->members = printJSON(asked->request.toJSON());
    snapshot.requests = {asked};
    const auto states = drive({
        {{"time", 1000}, {"resize", {14, 60}}, {"snapshot", stateOf(snapshot)}},
        {{"time", 1001}, {"keys", {"Enter"}}},
        {{"keys", {"1", "2", "Enter"}}},
        {{"time", 1002}, {"keys", {"3", "1", "2", "3"}}},
        {{"keys", {"Enter"}}},
        {{"time", 1003}, {"keys", {"w", "s", "o", "Enter"}}},
        {{"keys", {"Enter"}}},
    });
    EXPECT_EQ(states[1]["message"], "choose with the digits, or w for your own words");
    EXPECT_NE(textOf(states[3]).find("│ 1 [x] S    "), std::string::npos) << textOf(states[3]);
    EXPECT_NE(textOf(states[3]).find("│ 3 [ ] M    "), std::string::npos);
    EXPECT_EQ(states[6]["effects"][0]["response"],
              (JSON{{"decision", "allow"}, {"answers", {"Blue", "S, L, XL", "so"}}}));
}

TEST_F(KeyTests, FirstRunOffersWhatIsHere) {
    write(".claude/settings.json", "{}");
    const auto states = drive({
        {{"time", 1000}, {"resize", {12, 70}}, {"snapshot", stateOf({})}},
        {{"keys", {"c"}}},
        {{"keys", {"d"}}},
        {{"time", 1003}},
        {{"time", 1006}},
        {{"time", 1007}, {"keys", {"a"}}},
        {{"time", 1020}, {"keys", {"Esc"}}},
    });
    EXPECT_NE(textOf(states[0]).find("Claude Code: not connected"), std::string::npos) << textOf(states[0]);
    EXPECT_EQ(states[1]["effects"], JSON::array({{{"kind", "connect"}}}));
    EXPECT_NE(textOf(states[4]).find("│ make test"), std::string::npos) << textOf(states[4]);
    EXPECT_EQ(states[5]["card"], nullptr); // played to its end, without anybody else
    EXPECT_EQ(states[5]["effects"], JSON::array());
    EXPECT_EQ(states[6]["frame"], states[0]["frame"]);
}

} // namespace quorvik
