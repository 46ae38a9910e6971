#include "QuorvikApp/Model/Grants.h"
#include "QuorvikApp/Model/RequestCard.h"

#include <gtest/gtest.h>

namespace quorvik {

namespace {

ApprovalRequest requestOf(Source source, const char* tool, const char* input) {
    ApprovalRequest request{.id = "1", .source = source, .sessionID = "s", .cwd = "/home/u/work/app"};
    request.tool = tool;
    if (input) request.input = input;
    return request;
}

/// The passwords of these tests.
std::vector<VisibleText::Range> secretsIn(std::string_view text) {
    std::vector<VisibleText::Range> found;
    for (std::size_t at = 0; (at = text.find("pass", at)) != text.npos;) {
        const std::size_t end = std::min(text.find_first_of(" \"'", at), text.size());
        found.push_back({at, end});
        at = end;
    }
    return found;
}

RequestCard cardOf(const ApprovalRequest& request) {
    WaitingRequest waiting{.request = request};
    waiting.grants = grantsOf(request);
    return RequestCard::of(waiting, secretsIn, "/home/u");
}

std::string bodyOf(const RequestCard& card) {
    std::string text;
    for (const CardLine& line : card.body) {
        constexpr const char* signs[] = {"|", "$", "-", "+", "=", ":", "#"};
        text += signs[static_cast<int>(line.kind)] + line.text + "\n";
    }
    return text;
}

} // namespace

TEST(RequestCardTests, AlwaysSaysWhatItGrants) {
    struct Row {
        const char* suggestions;
        std::vector<std::string> words;
    };
    const Row rows[] = {
        {R"([{"type":"addRules","rules":[{"toolName":"Bash","ruleContent":"npm run test:*"}],"behavior":"allow",)"
         R"("destination":"localSettings"}])",
         {"allow Bash commands that match npm run test:* in this project"}},
        {R"([{"type":"addDirectories","directories":["/w","/x"],"destination":"session"},)"
         R"({"type":"setMode","mode":"acceptEdits","destination":"session"}])",
         {"add the folder /w to this session", "add the folder /x to this session",
          "accept all edits in this session"}},
        {R"([{"type":"addRules","rules":[{"toolName":"Read"},{"toolName":"WebFetch","ruleContent":"domain:a.b"}],)"
         R"("behavior":"deny","destination":"userSettings"}])",
         {"refuse every use of Read in all projects",
          "refuse WebFetch where it matches domain:a.b in all projects"}},
        {"[{\"type\":\"addDirectories\",\"directories\":[\"/w\xE2\x80\xAE\"],\"destination\":\"session\"}]",
         {"add the folder /w\\u{202E} to this session"}},
        // What has no words is not offered, in part neither.
        {R"([{"type":"setMode","mode":"acceptEdits","destination":"session"},{"type":"removeRules"}])", {}},
        {R"([{"type":"setMode","mode":"yolo","destination":"session"}])", {}},
        {R"([{"type":"setMode","mode":"acceptEdits","destination":"session","until":1}])", {}},
        {R"([{"type":"addRules","rules":[{"toolName":"Bash","but":1}],"behavior":"allow","destination":"session"}])",
         {}},
        {R"([{"type":"addRules","rules":[],"behavior":"allow","destination":"session"}])", {}},
        {R"([{"type":1}])", {}},
        {"[7]", {}},
        {"{}", {}},
        {"[", {}},
    };
    for (const Row& row : rows) {
        auto request = requestOf(Source::claude, "Bash", R"({"command":"ls"})");
        request.suggestions = row.suggestions;
        EXPECT_EQ(grantsOf(request), row.words) << row.suggestions;
        EXPECT_EQ(cardOf(request).always, !row.words.empty()) << row.suggestions;
        for (const Source other : {Source::codex, Source::copilot, Source::devin, Source::qwen}) {
            request.source = other;
            EXPECT_TRUE(grantsOf(request).empty());
        }
    }
}

TEST(RequestCardTests, InputsInTheirOwnForm) {
    struct Row {
        const char* tool;
        const char* input;
        const char* headline;
        const char* body;
    };
    const Row rows[] = {
        {"Bash", R"({"command":"git push\n\tls","description":"Push"})",
         "Claude Code asks to run Bash in ~/work/app", "$git push\n$    ls\n:description: Push\n"},
        {"Bash", R"({"command":"login passw0rd now"})", "Claude Code asks to run Bash in ~/work/app",
         "$login ⟦hidden, 8 bytes⟧ now\n"},
        {"Bash", R"({"command":"echo 'pass\nword' x"})", "Claude Code asks to run Bash in ~/work/app",
         "$echo '⟦hidden, 4 bytes⟧\n$⟦hidden, 4 bytes⟧' x\n"},
        // Two values for one name: which one counts?
        {"Bash", R"({"command":"ls","command":"rm"})", "Claude Code asks to use Bash in ~/work/app",
         ":{\n:  \"command\": \"ls\",\n:  \"command\": \"rm\"\n:}\n"},
        {"Bash", "{\"command\":\"rm \xE2\x80\xAEx\xC2\xA0\xE2\x9F\xA6\\u001b\"}",
         "Claude Code asks to run Bash in ~/work/app", "$rm \\u{202E}x\\u{00A0}\\u{27E6}\\x1b\n"},
        {"Edit", R"({"file_path":"/a","old_string":"1\n2\n3","new_string":"1\nb\n\n3","replace_all":true})",
         "Claude Code asks to use Edit in ~/work/app",
         ":file_path: /a\n:replace_all: true\n=1\n-2\n+b\n+\n=3\n"},
        {"MultiEdit",
         R"({"file_path":"/a","edits":[{"old_string":"1","new_string":"2\n"},)"
         R"({"old_string":"","new_string":"x"}]})",
         "Claude Code asks to use MultiEdit in ~/work/app",
         ":file_path: /a\n#edit 1\n-1\n+2\n#a line feed is added at the end\n#edit 2\n+x\n"},
        {"Write", R"({"file_path":"/a","content":"x\ny"})", "Claude Code asks to use Write in ~/work/app",
         ":file_path: /a\n+x\n+y\n#no line feed at the end\n"},
        {"apply_patch", R"({"input":"*** Begin Patch\n*** Update File: a\n@@\n x\n-y\n+z\n*** End Patch"})",
         "Claude Code asks to use apply_patch in ~/work/app",
         ":*** Begin Patch\n:*** Update File: a\n:@@\n= x\n-y\n+z\n:*** End Patch\n"},
        {"Bash", R"({"command":"*** Begin Patch\n-ls"})", "Claude Code asks to run Bash in ~/work/app",
         "$*** Begin Patch\n$-ls\n"}, // a shell takes it for two commands
        // Neither a name nor a value looks like other members.
        {"Bash", R"({"command":"ls","a\nfile: b":1,"x: y":"","d":"e\nfile: f"})",
         "Claude Code asks to run Bash in ~/work/app",
         "$ls\n:\"a\\nfile: b\": 1\n:\"x: y\": \n:d:\n|  e\n|  file: f\n"},
        // Changes that nobody would see.
        {"Write", R"({"file_path":"/a","content":""})", "Claude Code asks to use Write in ~/work/app",
         ":file_path: /a\n#nothing: the file becomes empty\n"},
        {"Edit", R"({"old_string":"\tx \n  ","new_string":"    x\n "})",
         "Claude Code asks to use Edit in ~/work/app", "-\\tx\\x20\n-\\x20\\x20\n+    x\n+\\x20\n"},
        {"Edit", R"({"old_string":"\tx\n\ty","new_string":"    x\n\tz"})",
         "Claude Code asks to use Edit in ~/work/app", "-\\tx\n-\\ty\n+    x\n+\\tz\n"},
        {"Edit", R"({"old_string":"x","new_string":"x"})", "Claude Code asks to use Edit in ~/work/app",
         "=x\n#nothing changes\n"},
        {"WebFetch", R"({"url":"http://a","n":[1.50]})", "Claude Code asks to use WebFetch in ~/work/app",
         ":{\n:  \"url\": \"http://a\",\n:  \"n\": [\n:    1.50\n:  ]\n:}\n"},
        {"ExitPlanMode", R"({"plan":"# Plan\n1. x"})", "Claude Code has a plan in ~/work/app",
         "|# Plan\n|1. x\n"},
        {"Odd", "no JSON", "Claude Code asks to use Odd in ~/work/app", ":no JSON\n"},
    };
    for (const Row& row : rows) {
        const auto card = cardOf(requestOf(Source::claude, row.tool, row.input));
        EXPECT_EQ(card.headline, row.headline);
        EXPECT_EQ(bodyOf(card), row.body);
    }
}

TEST(RequestCardTests, OffersWhatTheAgentHonours) {
    const char* input = R"({"command":"ls"})";
    struct Row {
        const char* why;
        ApprovalRequest request;
        bool allow, deny;
    };
    std::vector<Row> rows = {
        {"the usual", requestOf(Source::codex, "Bash", input), true, true},
        {"no input at all: nothing is hidden", requestOf(Source::claude, "Tool", nullptr), true, true},
        {"a plan", requestOf(Source::claude, "ExitPlanMode", R"({"plan":"x"})"), false, true},
        {"a question that cannot be answered", requestOf(Source::qwen, "ask_user_question", "{}"), false,
         true},
        {"only the masked line", requestOf(Source::claude, "Bash", nullptr), false, true},
        {"cut off", requestOf(Source::claude, "Bash", input), false, true},
        {"a question", requestOf(Source::claude, "AskUserQuestion", nullptr), true, true},
        {"one whose list is missing", requestOf(Source::claude, "AskUserQuestion", nullptr), false, true},
        {"Grok's, which knows no denial", requestOf(Source::grok, "ask", nullptr), true, false},
    };
    rows[4].request.summary = "ls";
    rows[5].request.inputTruncated = true;
    for (const std::size_t index : {6u, 7u, 8u})
        rows[index].request.questions = {{.question = "Which?", .options = {{"Red", ""}}}};
    rows[6].request.questionsJSON = "[{}]";
    for (const Row& row : rows) {
        const auto card = cardOf(row.request);
        EXPECT_EQ(card.allow, row.allow) << row.why;
        EXPECT_EQ(card.whyNoAllow.empty(), row.allow) << row.why;
        EXPECT_EQ(card.deny, row.deny) << row.why;
        EXPECT_TRUE(card.ask);
    }
    // So deep that its layout would fill any screen: shown in part, and not to be allowed.
    const std::string deep = std::string(30'000, '[') + std::string(30'000, ']');
    EXPECT_FALSE(cardOf(requestOf(Source::claude, "Odd", deep.c_str())).allow);
}

} // namespace quorvik
