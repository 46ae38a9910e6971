#include "quorvik_island/Commands/AnswerCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

namespace quorvik::AnswerCommand {

namespace {

/// What was typed for one question: labels, or one text.
struct TypedAnswer {
    std::vector<std::string> labels;
    std::optional<std::string> text;

    bool isEmpty() const { return labels.empty() && !text; }
};

/// One answer as it was typed.
struct Typed {
    std::string id;
    ApprovalResponse response; ///< without answers
    std::vector<TypedAnswer> answers;
};

constexpr std::string_view outcome(ApprovalDecision decision) {
    switch (decision) {
    case ApprovalDecision::allow: return "allowed";
    case ApprovalDecision::allowAlways: return "allowed, from now on";
    case ApprovalDecision::deny: return "denied";
    case ApprovalDecision::ask: break;
    }
    return "left to the agent's own interface";
}

/// `word` is one of the four that the command takes.
ApprovalDecision decisionOf(std::string_view word) {
    return fromRawValue<ApprovalDecision>(word).value_or(ApprovalDecision::allowAlways); // "always"
}

/// The answers to the questions, as the order of the options tells them.
std::vector<TypedAnswer> answersIn(const Arguments& arguments) {
    std::vector<TypedAnswer> answers;
    for (const auto& [option, value] : arguments.mentions) {
        if (option == "--next") {
            if (answers.empty() || answers.back().isEmpty())
                throw UsageError("answer: there is no answer before --next");
            answers.emplace_back();
            continue;
        }
        if (answers.empty()) answers.emplace_back();
        TypedAnswer& answer = answers.back();
        const bool isText = option == "--text";
        if (answer.text || (isText && !answer.labels.empty()))
            throw UsageError("answer: a question takes options or one text; --next begins the next question");
        if (isText)
            answer.text = value;
        else
            answer.labels.push_back(value);
    }
    return answers;
}

Typed typed(const Arguments& arguments) {
    Typed typed;
    typed.answers = answersIn(arguments);
    const auto& words = arguments.words;
    if (words.size() < 2) throw UsageError("answer: say which request, and allow, always, deny or ask");
    const ApprovalDecision decision = decisionOf(words[1]);
    typed.id = words[0];
    typed.response.decision = decision;
    if (const std::string* message = arguments.value("--message")) typed.response.message = *message;
    if (typed.response.message && decision != ApprovalDecision::deny)
        throw UsageError("answer: --message goes with deny");
    if (!typed.answers.empty() && decision != ApprovalDecision::allow)
        throw UsageError("answer: answers go with allow");
    if (!typed.answers.empty() && typed.answers.back().isEmpty())
        throw UsageError("answer: there is no answer after --next");
    return typed;
}

/// Why the labels do not answer the question; empty when they do.
std::string whyNoChoice(const Question& question, const std::vector<std::string>& labels) {
    if (labels.size() > 1 && !question.multiSelect) return "takes one option";
    for (auto label = labels.begin(); label != labels.end(); ++label) {
        if (std::find(labels.begin(), label, *label) != label) return "is given \"" + *label + "\" twice";
        if (std::ranges::find(question.options, *label, &QuestionOption::label) != question.options.end())
            continue;
        std::string offered;
        for (const QuestionOption& option : question.options)
            offered += (offered.empty() ? "\"" : ", \"") + option.label + "\"";
        return "does not offer \"" + *label + "\", but " + offered;
    }
    return {};
}

/// The answers as they travel, one text a question. Throws ControlError for a choice that `request` (null:
/// not known here) does not offer; all else is the app's to check.
std::vector<std::string> answerTexts(const std::vector<TypedAnswer>& answers,
                                     const ApprovalRequest* request) {
    constexpr int unfit = 13; // docs/control.md
    std::vector<std::string> texts;
    for (const TypedAnswer& answer : answers) {
        const std::size_t index = texts.size();
        if (request && request->isQuestion() && index < request->questions->size()) {
            const std::string why = whyNoChoice((*request->questions)[index], answer.labels);
            if (!why.empty()) throw ControlError(unfit, "question " + std::to_string(index + 1) + " " + why);
        }
        std::string& text = texts.emplace_back(answer.text.value_or(""));
        for (const std::string& label : answer.labels)
            text += (text.empty() ? "" : ", ") + label;
    }
    return texts;
}

} // namespace

int run(const Arguments& arguments) {
    Typed parsed = typed(arguments);

    Console console(false);
    ControlClient client = ControlClient::connect("command", ControlClient::Start::never);
    try {
        if (!parsed.answers.empty()) {
            const Snapshot snapshot = client.snapshot();
            const WaitingRequest* waiting = snapshot.request(parsed.id);
            parsed.response.answers = answerTexts(parsed.answers, waiting ? &waiting->request : nullptr);
        }
        nlohmann::json parameters = parsed.response.toJSON();
        parameters["id"] = parsed.id;
        client.call("answer", parameters);
    } catch (const ControlError& error) {
        console.fail("answer: " + Unicode::terminalLine(error.what()));
        return console.exitStatus();
    }
    console.line(parsed.answers.empty() ? outcome(parsed.response.decision) : "answered");
    return console.exitStatus();
}

} // namespace quorvik::AnswerCommand
