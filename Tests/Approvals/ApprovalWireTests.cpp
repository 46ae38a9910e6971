#include "QuorvikCore/Approvals/ApprovalWire.h"

#include <gtest/gtest.h>

namespace quorvik {

using Decision = ApprovalDecision;
using Answers = std::vector<std::string>;
using Text = std::optional<std::string>;

namespace {

constexpr const char* nothing = "(nothing)";

std::string output(const ApprovalRequest& request, const ApprovalResponse& response) {
    return ApprovalWire::hookOutput(request, response).value_or(nothing);
}

std::string permission(const std::string& decision) {
    return R"({"hookSpecificOutput":{"decision":)" + decision + R"(,"hookEventName":"PermissionRequest"}})";
}

ApprovalRequest questionOf(Source source, const Text& json) {
    return {.source = source,
            .questions = {{{"Red or \"blue\"?", "", {{"R", ""}}}, {"Big?", "", {{"Y", ""}}}}},
            .questionsJSON = json};
}

} // namespace

TEST(ApprovalWireTests, EveryAgentGetsItsOwnShape) {
    for (const Source source : allSources()) {
        std::string allow = permission(R"({"behavior":"allow"})");
        std::string deny = permission(R"({"behavior":"deny","message":"*"})");
        if (source == Source::copilot) {
            allow = R"({"behavior":"allow"})";
            deny = R"({"behavior":"deny","interrupt":false,"message":"*"})";
        } else if (source == Source::devin) {
            allow = R"({"decision":"approve"})";
            deny = R"({"decision":"block","reason":"*"})";
        } else if (source == Source::grok) {
            allow = deny = nothing;
        }
        const auto denied = [&](const std::string& reason) {
            std::string text = deny;
            return deny == nothing ? deny : text.replace(deny.find('*'), 1, reason);
        };
        const ApprovalRequest request{.source = source};
        EXPECT_EQ(output(request, {Decision::allow}), allow);
        EXPECT_EQ(output(request, {Decision::allowAlways}), allow);
        EXPECT_EQ(output(request, {Decision::deny}), denied("Denied from the Quorvik notch"));
        EXPECT_EQ(output(request, {Decision::deny, "no \"é\"/\n\xff"}), denied("no \\\"é\\\"/\\n\uFFFD"));
        EXPECT_EQ(output(request, {Decision::deny, ""}), denied(""));
        EXPECT_EQ(output(request, {Decision::ask, "m", Answers{}}), nothing);
    }
}

TEST(ApprovalWireTests, SuggestedRulesComeBackWithAllowAlways) {
    const std::string leftOut = "";
    for (const auto& [suggestions, updated] : std::initializer_list<std::pair<Text, std::string>>{
             {R"([ {"type":"setMode", "n":1.50} ])", R"([{"type":"setMode","n":1.50}])"},
             {"[\"\xff\"]", "[\"\uFFFD\"]"},
             {" [ ] ", leftOut},
             {"{\"a\":1}", leftOut},
             {"[1],\"behavior\":[\"deny\"]", leftOut}, // no way to smuggle members in
             {std::string("[1]\0,", 5), leftOut},
         }) {
        const ApprovalRequest request{.source = Source::claude, .suggestions = suggestions};
        const std::string rules = updated.empty() ? "" : ",\"updatedPermissions\":" + updated;
        EXPECT_EQ(output(request, {Decision::allowAlways}),
                  permission("{\"behavior\":\"allow\"" + rules + "}"));
        EXPECT_EQ(output(request, {Decision::allow}), permission(R"({"behavior":"allow"})"));
    }
}

TEST(ApprovalWireTests, AnswersGoBackWithTheQuestionsAsTheyCame) {
    const ApprovalResponse answered{Decision::allow, std::nullopt, Answers{"Blue", "Yes, very\n"}};
    const ApprovalRequest question = questionOf(
        Source::claude, R"([ {"z":1.50, "a":1E2, "t":"a b\u00e9\/"}, {"z":12345678901234567890123} ])");
    EXPECT_EQ(output(question, answered),
              permission(R"({"behavior":"allow","updatedInput":{"answers":{"Big?":"Yes, very\n",)"
                         R"("Red or \"blue\"?":"Blue"},"questions":)"
                         R"([{"z":1.50,"a":1E2,"t":"a b\u00e9\/"},{"z":12345678901234567890123}]}})"));
    EXPECT_EQ(output(question, {Decision::allowAlways}), permission(R"({"behavior":"allow"})"));
    EXPECT_EQ(output(question, {Decision::deny, "why"}),
              permission(R"({"behavior":"deny","message":"why"})"));
    EXPECT_EQ(output(question, {Decision::allow}), nothing);
    EXPECT_EQ(output(question, {Decision::allow, std::nullopt, Answers{"a", "b", "c"}}), nothing);
    for (const Text& unusable : {Text(), Text("[1"), Text("")})
        EXPECT_EQ(output(questionOf(Source::claude, unusable), answered), nothing);
}

TEST(ApprovalWireTests, AnInputThatIsTooLongIsCutAndMarked) {
    ApprovalRequest request{.id = "i", .sessionID = "s", .cwd = "/w", .input = "{}"};
    EXPECT_EQ(ApprovalWire::requestLine(request), printJSON(request.toJSON()));
    for (const std::string character : {"x", "\"", "\n", "\x01", "é", "e\u0301", "👍🏽"}) {
        request.input.emplace();
        while (request.input->size() < 70'000)
            *request.input += character;
        const auto line = ApprovalWire::requestLine(request);
        ASSERT_TRUE(line) << character;
        EXPECT_LT(line->size(), ApprovalWire::maxLine);
        EXPECT_GE(line->size() + character.size() * 6, ApprovalWire::maxLine); // not shorter than need be
        auto sent = ApprovalRequest::fromJSON(*parseJSON(*line));
        EXPECT_TRUE(request.input->starts_with(*sent.input) && sent.input->size() % character.size() == 0);
        EXPECT_EQ(std::exchange(sent.inputTruncated, std::nullopt), true);
        sent.input = request.input;
        EXPECT_EQ(sent, request);
    }
    const auto lineOf = [&](std::size_t bytesWithoutInput) { // so much stands in the line besides the input
        ApprovalRequest full{.id = "i", .sessionID = "s"};
        full.cwd.assign(bytesWithoutInput - printJSON(full.toJSON()).size(), 'x');
        full.input = std::string(100, 'y');
        return ApprovalWire::requestLine(full).value_or(nothing);
    };
    EXPECT_TRUE(lineOf(65'510).ends_with(R"("inputTruncated":true,"sessionID":"s","source":"claude"})"));
    EXPECT_TRUE(lineOf(65'520) == nothing); // nobody is to allow what he cannot see
}

TEST(ApprovalWireTests, GrokHearsTheAnswerAsARefusal) {
    ApprovalRequest request = questionOf(Source::grok, std::nullopt);
    const Answers answers = {"Blue", "Yes"};
    EXPECT_EQ(
        output(request, {Decision::allow, std::nullopt, answers}),
        R"({"hookSpecificOutput":{"hookEventName":"PreToolUse","permissionDecision":"deny",)"
        R"("permissionDecisionReason":"The user has already answered in the Quorvik notch, so do not ask )"
        R"(again. Continue with their answer.\nQuestion: Red or \"blue\"?\nThe user's answer: Blue\n)"
        R"(Question: Big?\nThe user's answer: Yes"}})");
    for (const Decision decision : {Decision::allowAlways, Decision::deny, Decision::ask})
        EXPECT_EQ(output(request, {decision, std::nullopt, answers}), nothing);
    EXPECT_EQ(output(request, {Decision::allow}), nothing);
    EXPECT_EQ(output(request, {Decision::allow, std::nullopt, Answers{"one"}}), nothing);
    request.questions.emplace();
    EXPECT_TRUE(
        output(request, {Decision::allow, std::nullopt, Answers()}).ends_with(R"(their answer.\n"}})"));
}

} // namespace quorvik
