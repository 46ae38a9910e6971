#include "QuorvikApp/Model/RequestCard.h"

#include "QuorvikApp/Model/Grants.h"
#include "QuorvikApp/Model/ToolInput.h"

#include "QuorvikCore/Approvals/ApprovalWire.h"
#include "QuorvikCore/Text/HomePath.h"
#include "QuorvikCore/Text/Redactor.h"

namespace quorvik {

namespace {

using Kind = CardLine::Kind;

std::string folder(std::string_view path, std::string_view home) {
    return VisibleText::shown(HomePath::abbreviated(path, home));
}

std::string headlineOf(const ApprovalRequest& request, const RequestCard& card, std::string_view home) {
    std::string text(displayName(request.source));
    const std::string tool = VisibleText::shown(request.tool.value_or(""));
    const bool isCommand = !card.body.empty() && card.body.front().kind == Kind::command;
    if (request.isQuestion())
        text += request.questions->size() == 1 ? " asks you a question" : " asks you some questions";
    else if (tool == "ExitPlanMode")
        text += " has a plan";
    else if (tool.empty())
        text += " asks for a permission";
    else
        text += (isCommand ? " asks to run " : " asks to use ") + tool;
    if (!request.cwd.empty()) text += " in " + folder(request.cwd, home);
    return text;
}

CardLine oneLine(std::string_view text) {
    const auto shown = VisibleText::show(text);
    return {.kind = Kind::text, .text = shown.text, .escapes = shown.escapes};
}

CardQuestion questionOf(const Question& question) {
    CardQuestion shown{.multiSelect = question.multiSelect};
    if (!question.header.empty() && question.header != question.question)
        shown.text.push_back(oneLine(question.header));
    for (CardLine& line : ToolInput::text(question.question, Kind::text, {}).lines)
        shown.text.push_back(std::move(line));
    for (const QuestionOption& option : question.options)
        shown.options.push_back({oneLine(option.label), oneLine(option.description), option.label});
    return shown;
}

bool isHonoured(const ApprovalRequest& request, ApprovalDecision decision,
                std::optional<std::vector<std::string>> answers = std::nullopt) {
    const ApprovalResponse response{.decision = decision, .answers = std::move(answers)};
    return ApprovalWire::hookOutput(request, response).has_value();
}

} // namespace

std::string joinedAnswers(const std::vector<std::string>& labels) {
    std::string text;
    for (const std::string& label : labels)
        text += (text.empty() ? "" : ", ") + label;
    return text;
}

std::vector<VisibleText::Range> RequestCard::credentials(std::string_view text) {
    return Redactor::secrets(text);
}

RequestCard RequestCard::of(const WaitingRequest& waiting, const SecretFinder& secrets,
                            std::string_view home) {
    const ApprovalRequest& request = waiting.request;
    RequestCard card;
    card.deny = isHonoured(request, ApprovalDecision::deny);
    if (request.isQuestion()) {
        for (const Question& question : *request.questions)
            card.questions.push_back(questionOf(question));
        const std::vector<std::string> answers(request.questions->size());
        card.allow = !answers.empty() && isHonoured(request, ApprovalDecision::allow, answers);
        if (!card.allow) card.whyNoAllow = "answer it in its terminal";
        card.headline = headlineOf(request, card, home);
        return card;
    }

    bool isWhole = !request.inputTruncated.value_or(false);
    if (request.input) {
        auto input = ToolInput::of(*request.input, request.tool.value_or(""), secrets);
        card.body = std::move(input.lines);
        card.hidesSecrets = input.hides;
        isWhole = isWhole && input.isWhole;
    } else if (request.summary && !request.summary->empty()) {
        // Only the masked and cut summary is there, from which nobody can tell what would happen.
        isWhole = false;
        card.body = ToolInput::text(*request.summary, Kind::member, {}).lines;
    }
    card.headline = headlineOf(request, card, home);
    if (!isWhole) {
        card.whyNoAllow = "not all of it can be shown here, so allow it in its terminal";
        card.body.push_back({.kind = Kind::note, .text = "… and more that cannot be shown here"});
    } else if (ignoresBareAllow(request) || !isHonoured(request, ApprovalDecision::allow)) {
        card.whyNoAllow = std::string(displayName(request.source)) + " takes an answer in its terminal only";
    }
    card.allow = card.whyNoAllow.empty();
    if (card.allow) card.grants = waiting.grants;
    card.always = !card.grants.empty();
    return card;
}

} // namespace quorvik
