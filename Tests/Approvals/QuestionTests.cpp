#include "QuorvikCore/Approvals/ApprovalRequest.h"

#include <gtest/gtest.h>

namespace quorvik {

using nlohmann::json;

namespace {

std::string repeated(const std::string& element, int count) {
    std::string list;
    for (int index = 0; index < count; ++index)
        list += (index ? "," : "") + element;
    return "[" + list + "]";
}

} // namespace

TEST(QuestionTests, ParsesAListWholeOrNotAtAll) {
    const std::string option = R"({"label":"A"})";
    const std::string question = R"({"question":"Q?","options":[{"label":"A"}]})";
    const auto withOptions = [](const std::string& options) {
        return R"([{"question":"Q?","options":)" + options + "}]";
    };
    for (const auto& list : {repeated(question, 1), repeated(question, 4), withOptions(repeated(option, 6))})
        EXPECT_TRUE(Question::parse(json::parse(list))) << list;
    for (const auto& list : {
             std::string("null"),
             question,
             std::string("[]"),
             repeated(question, 5),
             "[" + question + ",1]",
             std::string(R"([{"options":[{"label":"A"}]}])"),
             std::string(R"([{"question":"","options":[{"label":"A"}]}])"),
             std::string(R"([{"question":1,"options":[{"label":"A"}]}])"),
             std::string(R"([{"question":"Q?"}])"),
             withOptions("{}"),
             withOptions("[]"),
             withOptions(repeated(option, 7)),
             withOptions("[" + option + R"(,"B"])"),
             withOptions("[" + option + R"(,{"label":""}])"),
             withOptions("[" + option + R"(,{"label":2}])"),
             "[" + question + R"(,{"question":"R?","options":[]}])",
         })
        EXPECT_FALSE(Question::parse(json::parse(list))) << list;
}

TEST(QuestionTests, TakesWhatMayBeMissingOnlyWhenItHasItsType) {
    const auto parsed = Question::parse(json::parse(R"([
        {"question":"First?","header":"H","multiSelect":true,"options":[{"label":"B","description":"b"},{"label":"A"}]},
        {"question":"Second?","header":1,"multiSelect":1,"options":[{"label":"C","description":null}]}])"));
    const std::vector<Question> expected = {{"First?", "H", {{"B", "b"}, {"A", ""}}, true},
                                            {"Second?", "", {{"C", ""}}, false}};
    EXPECT_EQ(parsed, expected);
}

TEST(ApprovalRequestTests, TravelsAndComesBackTheSame) {
    ApprovalRequest request{.id = "i", .source = Source::claude, .sessionID = "abc", .cwd = "/w"};
    EXPECT_EQ(printJSON(request.toJSON()), R"({"cwd":"/w","id":"i","sessionID":"abc","source":"claude"})");
    EXPECT_EQ(request.key(), "claude-abc");
    EXPECT_FALSE(request.isQuestion());
    EXPECT_FALSE(request.canAlwaysAllow());
    EXPECT_EQ(ApprovalRequest::fromJSON(request.toJSON()), request);

    request.suggestions = "";
    EXPECT_FALSE(request.canAlwaysAllow());
    request.suggestions = "[1]";
    EXPECT_TRUE(request.canAlwaysAllow());
    request.questions.emplace();
    EXPECT_TRUE(request.isQuestion());
    EXPECT_FALSE(request.canAlwaysAllow());

    request.tool = "Bash";
    request.summary = "ls";
    request.questionsJSON = "[]";
    request.questions = {{"Q?", "H", {{"A", "a"}}, true}};
    EXPECT_EQ(printJSON(request.toJSON()),
              R"({"cwd":"/w","id":"i","questions":[{"header":"H","multiSelect":true,"options":)"
              R"([{"description":"a","label":"A"}],"question":"Q?"}],"questionsJSON":"[]","sessionID":"abc",)"
              R"("source":"claude","suggestions":"[1]","summary":"ls","tool":"Bash"})");
    EXPECT_EQ(ApprovalRequest::fromJSON(request.toJSON()), request);
}

TEST(ApprovalRequestTests, RefusesWhatIsNotOne) {
    for (const std::string text : {
             "[]",
             R"({"id":"i","source":"claude","sessionID":"s"})",
             R"({"id":"i","source":"Claude","sessionID":"s","cwd":"/"})",
             R"({"id":"i","source":"claude","sessionID":"s","cwd":"/","questions":{}})",
             R"({"id":"i","source":"claude","sessionID":"s","cwd":"/","questions":[{"question":"Q?"}]})",
             R"({"id":"i","source":"claude","sessionID":"s","cwd":"/","suggestions":[]})",
         })
        EXPECT_THROW(ApprovalRequest::fromJSON(json::parse(text)), RecordError) << text;
}

} // namespace quorvik
