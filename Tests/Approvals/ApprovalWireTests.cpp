#include "QuorvikCore/Approvals/ApprovalWire.h"

#include <gtest/gtest.h>

namespace quorvik {

using Decision = ApprovalDecision;
using Answers = std::vector<std::string>;

namespace {

constexpr const char* nothing = "(nothing)";

std::string output(const ApprovalRequest& request, const ApprovalResponse& response) {
    return ApprovalWire::hookOutput(request, response).value_or(nothing);
}

std::string permission(const std::string& decision) {
    return R"({"hookSpecificOutput":{"decision":)" + decision + R"(,"hookEventName":"PermissionRequest"}})";
}

const ApprovalRequest question{
    .source = Source::claude,
    .questions = {{{"Red or \"blue\"?", "", {{"R", ""}}}, {"Big?", "", {{"Y", ""}}}}},
    .questionsJSON = R"([ {"z":1.50, "a":1E2, "t":"a b\u00e9\/"},
                                                     {"z":12345678901234567890123} ])"};
const std::string questionsAsWritten =
    R"([{"z":1.50,"a":1E2,"t":"a b\u00e9\/"},{"z":12345678901234567890123}])";

} // namespace

TEST(ApprovalWireTests, EveryAgentGetsItsOwnShape) {
    struct Shapes {
        std::vector<Source> sources;
        std::string allow, deny, denyWithReason, denyWithEmptyReason;
    };
    const Shapes all[] = {
        {{Source::claude, Source::codex, Source::commandcode, Source::qwen, Source::pi, Source::kimi,
          Source::build},
         permission(R"({"behavior":"allow"})"),
         permission(R"({"behavior":"deny","message":"Denied from the Quorvik notch"})"),
         permission(R"({"behavior":"deny","message":"no \"é\"/\n"})"),
         permission(R"({"behavior":"deny","message":""})")},
        {{Source::copilot},
         R"({"behavior":"allow"})",
         R"({"behavior":"deny","interrupt":false,"message":"Denied from the Quorvik notch"})",
         R"({"behavior":"deny","interrupt":false,"message":"no \"é\"/\n"})",
         R"({"behavior":"deny","interrupt":false,"message":""})"},
        {{Source::devin},
         R"({"decision":"approve"})",
         R"({"decision":"block","reason":"Denied from the Quorvik notch"})",
         R"({"decision":"block","reason":"no \"é\"/\n"})",
         R"({"decision":"block","reason":""})"},
        {{Source::grok}, nothing, nothing, nothing, nothing},
    };
    for (const Shapes& shapes : all) {
        for (const Source source : shapes.sources) {
            const ApprovalRequest request{.source = source};
            EXPECT_EQ(output(request, {Decision::allow}), shapes.allow) << rawValue(source);
            EXPECT_EQ(output(request, {Decision::allowAlways}), shapes.allow) << rawValue(source);
            EXPECT_EQ(output(request, {Decision::deny}), shapes.deny) << rawValue(source);
            EXPECT_EQ(output(request, {Decision::deny, "no \"é\"/\n"}), shapes.denyWithReason)
                << rawValue(source);
            EXPECT_EQ(output(request, {Decision::deny, ""}), shapes.denyWithEmptyReason) << rawValue(source);
            EXPECT_EQ(output(request, {Decision::ask, "m", Answers{}}), nothing) << rawValue(source);
        }
    }
}

TEST(ApprovalWireTests, SuggestedRulesComeBackWithAllowAlways) {
    struct Case {
        std::optional<std::string> suggestions;
        std::string updated; // empty: left out
    };
    for (const auto& [suggestions, updated] : std::initializer_list<Case>{
             {R"([ {"type":"setMode", "n":1.50} ])", R"([{"type":"setMode","n":1.50}])"},
             {"[[]]", "[[]]"},
             {"[]", ""},
             {" [ ] ", ""},
             {"{\"a\":1}", ""},
             {"[1", ""},
             {"[1],\"behavior\":[\"deny\"]", ""}, // no way to smuggle members in
             {std::string("[1]\0,", 5), ""},
             {"", ""},
             {std::nullopt, ""},
         }) {
        ApprovalRequest request{.source = Source::claude, .suggestions = suggestions};
        const std::string rules = updated.empty() ? "" : ",\"updatedPermissions\":" + updated;
        const std::string expected = permission("{\"behavior\":\"allow\"" + rules + "}");
        EXPECT_EQ(output(request, {Decision::allowAlways}), expected) << suggestions.value_or("-");
        EXPECT_EQ(output(request, {Decision::allow}), permission(R"({"behavior":"allow"})"));
    }
}

TEST(ApprovalWireTests, AnswersGoBackWithTheQuestionsAsTheyCame) {
    const ApprovalResponse answered{Decision::allow, std::nullopt, Answers{"Blue", "Yes, very\n"}};
    EXPECT_EQ(output(question, answered),
              permission(R"({"behavior":"allow","updatedInput":{"answers":{"Big?":"Yes, very\n",)"
                         R"("Red or \"blue\"?":"Blue"},"questions":)" +
                         questionsAsWritten + "}}"));
    EXPECT_EQ(output(question, {Decision::allowAlways}), permission(R"({"behavior":"allow"})"));
    EXPECT_EQ(output(question, {Decision::deny, "why"}),
              permission(R"({"behavior":"deny","message":"why"})"));

    for (const std::optional<Answers>& answers :
         {std::optional<Answers>(), std::optional(Answers{}), std::optional(Answers{"a"}),
          std::optional(Answers{"a", "b", "c"})})
        EXPECT_EQ(output(question, {Decision::allow, std::nullopt, answers}), nothing);
    for (const std::optional<std::string>& list :
         {std::optional<std::string>(), std::optional<std::string>("[1"), std::optional<std::string>("")}) {
        ApprovalRequest request = question;
        request.questionsJSON = list;
        EXPECT_EQ(output(request, answered), nothing);
    }

    ApprovalRequest twice = question;
    twice.questions = {{"Same?", "", {{"A", ""}}}, {"Same?", "", {{"A", ""}}}};
    twice.questionsJSON = "[]";
    EXPECT_EQ(
        output(twice, {Decision::allow, std::nullopt, Answers{"first", "second"}}),
        permission(R"({"behavior":"allow","updatedInput":{"answers":{"Same?":"second"},"questions":[]}})"));
}

TEST(ApprovalWireTests, GrokHearsTheAnswerAsARefusal) {
    ApprovalRequest request = question;
    request.source = Source::grok;
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
    EXPECT_EQ(output(request, {Decision::allow, std::nullopt, Answers{"one", "two", "three"}}), nothing);
}

TEST(ApprovalWireTests, BytesThatAreNotUTF8DoNotReachTheAgent) {
    EXPECT_EQ(output({.source = Source::devin}, {Decision::deny, "a\xff"}),
              "{\"decision\":\"block\",\"reason\":\"a\uFFFD\"}");
    EXPECT_EQ(output({.source = Source::claude, .suggestions = "[\"\xff\"]"}, {Decision::allowAlways}),
              permission("{\"behavior\":\"allow\",\"updatedPermissions\":[\"\uFFFD\"]}"));
}

} // namespace quorvik
