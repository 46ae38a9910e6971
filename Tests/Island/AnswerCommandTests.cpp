#include "Tests/Support/RunningApp.h"

#include <regex>

namespace quorvik {

using namespace testing;

/// `quorvik-island requests` and `quorvik-island answer`.
class AnswerCommandTests : public AppTest {
  protected:
    using Words = std::vector<std::string>;

    static ApprovalRequest permission() {
        ApprovalRequest request{.id = "r1", .source = Source::claude, .sessionID = "s", .cwd = "/w"};
        request.tool = "Bash";
        request.summary = "git push\t--force";
        request.input = R"({"command":"git push\t--force \u202E https://u:pw@h"})";
        request.suggestions = R"([{"type":"setMode","mode":"acceptEdits","destination":"session"}])";
        return request;
    }
    static ApprovalRequest question() {
        ApprovalRequest request{.id = "q1", .source = Source::claude, .sessionID = "s", .cwd = "/w"};
        request.tool = "AskUserQuestion";
        request.questions = {{"Which?", "", {{"Red", ""}, {"Green", ""}, {"Blue, dark", ""}}, true},
                             {"How?", "", {{"Small", ""}, {"Large", ""}}, false}};
        request.questionsJSON = R"([{"question":"Which?"},{"question":"How?"}])";
        return request;
    }
    static Program::Result answer(Words words) {
        words.insert(words.begin(), "answer");
        return island(words);
    }
};

TEST_F(AnswerCommandTests, TheAgentGetsWhatWasAnswered) {
    startApp();
    EXPECT_EQ(island({"requests"}), (Program::Result{0, "", ""}));
    using enum ApprovalDecision;
    struct Case {
        ApprovalRequest request;
        Words words;
        std::string said;
        ApprovalResponse response;
    };
    for (const auto& [request, words, said, response] : std::initializer_list<Case>{
             {permission(), {"allow"}, "allowed", {allow, {}, {}}},
             {permission(), {"always"}, "allowed, from now on", {allowAlways, {}, {}}},
             {permission(), {"deny"}, "denied", {deny, {}, {}}},
             {permission(), {"--message", "not today", "deny"}, "denied", {deny, "not today", {}}},
             {question(), {"ask"}, "left to the agent's own interface", {ask, {}, {}}},
             {question(), {"deny"}, "denied", {deny, {}, {}}},
             {question(),
              {"allow", "--choose", "Green", "--choose=Blue, dark", "--next", "--choose", "Small"},
              "answered",
              {allow, {}, {{"Green, Blue, dark", "Small"}}}},
             {question(),
              {"allow", "--text", "--none", "--next", "--text", "tiny"}, // a value may begin with dashes
              "answered",
              {allow, {}, {{"--none", "tiny"}}}}}) {
        auto answered = AppTest::ask(request);
        Words line = words;
        line.insert(line.begin(), request.id);
        EXPECT_EQ(answer(line), (Program::Result{0, said + "\n", ""}));
        EXPECT_EQ(answered.get(), response);
        EXPECT_EQ(answer(line).status, 1); // the first answer wins
    }
}

TEST_F(AnswerCommandTests, OtherAnswersAreRefusedInOneLine) {
    EXPECT_EQ(answer({"r1", "allow"}), failed(1, "Quorvik is not running"));
    startApp();
    auto plain = permission();
    plain.id = "r2";
    plain.suggestions.reset();
    auto first = AppTest::ask(permission()), second = AppTest::ask(plain), third = AppTest::ask(question());

    const auto lines = island({"requests"}).output;
    EXPECT_TRUE(std::regex_match(
        lines,
        std::regex("r1\tCC\t[0-9]+ s\tBash: git push --force\talways: accept all edits in this session\n"
                   "r2\tCC\t[0-9]+ s\tBash: git push --force\t\n"
                   "q1\tCC\t[0-9]+ s\t2 questions\t\n")))
        << lines;
    auto asSent = json({"requests", "--json"}).at(0);
    EXPECT_TRUE(asSent.at("receivedAt").is_number());
    asSent.erase("receivedAt");
    EXPECT_EQ(asSent, permission().toJSON());

    const std::string start =
        "Claude Code asks to run Bash in /w\n\n$ git push\\t--force \\u{202E} https://u:";
    const std::string always = "\n\nalways: accept all edits in this session\n";
    EXPECT_EQ(island({"requests", "r1"}).output,
              start + "⟦hidden, 2 bytes⟧@h" + always + "\n# --show-hidden shows what is hidden\n");
    EXPECT_EQ(island({"requests", "r1", "--show-hidden"}).output, start + "pw@h" + always);
    EXPECT_EQ(
        island({"requests", "q1"}).output,
        "Claude Code asks you some questions in /w\n\nWhich?\n  [] Red\n  [] Green\n  [] Blue, dark\n\nHow?\n"
        "  o Small\n  o Large\n");
    EXPECT_EQ(island({"requests", "r0"}), failed(1, "requests: there is no such request"));

    struct Case {
        Words words;
        std::string why;
    };
    for (const auto& [words, why] : std::initializer_list<Case>{
             {{"r0", "allow"}, "there is no such request"},
             {{"r2", "always"}, "\"always\" is not offered for this request"},
             {{"r1", "allow", "--choose", "Red"}, "this is no question: it takes no answers"},
             {{"q1", "allow"}, "there are 2 questions, each wants one answer"},
             {{"q1", "always"}, "this is a question: there is nothing to allow always"},
             {{"q1", "allow", "--text", "x"}, "there are 2 questions, each wants one answer"},
             {{"q1", "allow", "--choose", "Pink", "--next", "--text", "x"},
              R"(question 1 does not offer "Pink", but "Red", "Green", "Blue, dark")"},
             {{"q1", "allow", "--choose", "Red", "--choose", "Red", "--next", "--text", "x"},
              R"(question 1 is given "Red" twice)"},
             {{"q1", "allow", "--choose", "Red", "--next", "--choose", "Small", "--choose", "Large"},
              "question 2 takes one option"}})
        EXPECT_EQ(answer(words), failed(1, "answer: " + why));
    for (const auto& [words, why] : std::initializer_list<Case>{
             {{"r1"}, "answer: say which request, and allow, always, deny or ask"},
             {{"r1", "allow", "x"}, "answer: unexpected argument x"},
             {{"r1", "allowAlways"}, "answer: unknown decision allowAlways"},
             {{"r1", "allow", "--yes"}, "unknown option --yes"},
             {{"r1", "deny", "--message"}, "--message needs a value"},
             {{"r1", "allow", "--message", "x"}, "answer: --message goes with deny"},
             {{"q1", "deny", "--choose", "Red"}, "answer: answers go with allow"},
             {{"q1", "allow", "--next"}, "answer: there is no answer before --next"},
             {{"q1", "allow", "--text", "x", "--next"}, "answer: there is no answer after --next"},
             {{"q1", "allow", "--text", "x", "--choose", "Red"},
              "answer: a question takes options or one text; --next begins the next question"}})
        EXPECT_EQ(answer(words), failed(3, why + " (see quorvik-island answer --help)"));

    write("support/sessions/odd.json", "{");
    EXPECT_EQ(island({"sync"}).status, 0);
    const auto status = island({"status"}).output;
    const std::string permitted = "  for [0-9]+ s: Claude Code, Bash: git push --force\n";
    EXPECT_TRUE(std::regex_search(
        status, std::regex("\n3 requests wait\n" + permitted + permitted +
                           "  for [0-9]+ s: Claude Code, 2 questions\n"
                           "does not work: .*/odd.json holds no readable session record\n$")))
        << status;
    EXPECT_EQ(island({"stop"}), (Program::Result{0, "", ""}));
    for (auto* hook : {&first, &second, &third})
        EXPECT_EQ(hook->get(), std::nullopt); // the agent asks by itself
}

} // namespace quorvik
