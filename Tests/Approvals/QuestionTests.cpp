#include "QuorvikCore/Approvals/ApprovalRequest.h"

#include <gtest/gtest.h>

namespace quorvik {

using nlohmann::json;

TEST(QuestionTests, ParsesAListWholeOrNotAtAll) {
    const json option = {{"label", "A"}};
    const json question = {{"question", "Q?"}, {"options", {option}}};
    const auto with = [&](const char* key, const json& value) {
        json changed = question;
        changed[key] = value;
        return json::array({question, changed});
    };
    for (const json& list : {json::array({question}), json(4, question), with("options", json(6, option)),
                             with("header", 1), with("multiSelect", nullptr)})
        EXPECT_TRUE(Question::parse(list)) << list;
    for (const json& list : {json(), question, json::array(), json(5, question), json::array({question, 1}),
                             with("question", ""), with("question", nullptr), with("options", option),
                             with("options", json::array()), with("options", json(7, option)),
                             with("options", json::array({option, "B"})),
                             with("options", json::array({option, {{"label", ""}}})),
                             with("options", json::array({option, {{"label", 2}}}))})
        EXPECT_FALSE(Question::parse(list)) << list;

    const auto parsed = Question::parse(json::parse(R"([
        {"question":"1?","header":"H","multiSelect":true,"options":[{"label":"B","description":"b"},{"label":"A"}]},
        {"question":"2?","header":1,"multiSelect":1,"options":[{"label":"C","description":null}]}])"));
    EXPECT_EQ(parsed, (std::vector<Question>{{"1?", "H", {{"B", "b"}, {"A", ""}}, true},
                                             {"2?", "", {{"C", ""}}, false}}));
}

TEST(ApprovalRequestTests, TravelsAndComesBackTheSame) {
    ApprovalRequest request{.id = "i", .source = Source::claude, .sessionID = "abc", .cwd = "/w"};
    EXPECT_EQ(request.key(), "claude-abc");
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
    request.input = "{}";
    request.inputTruncated = true;
    EXPECT_EQ(
        printJSON(request.toJSON()),
        R"({"cwd":"/w","id":"i","input":"{}","inputTruncated":true,"questions":[{"header":"H","multiSelect":true,"options":)"
        R"([{"description":"a","label":"A"}],"question":"Q?"}],"questionsJSON":"[]","sessionID":"abc",)"
        R"("source":"claude","suggestions":"[1]","summary":"ls","tool":"Bash"})");
    EXPECT_EQ(ApprovalRequest::fromJSON(request.toJSON()), request);

    json wrong = request.toJSON();
    wrong["questions"][0].erase("header");
    EXPECT_THROW(ApprovalRequest::fromJSON(wrong), RecordError);
}

} // namespace quorvik
