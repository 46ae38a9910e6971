#include "quorvik_island/Commands/AnswerCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

namespace quorvik::AnswerCommand {

namespace {

constexpr std::string_view help =
    R"(usage: quorvik-island answer <id> allow|always|deny|ask [--message <text>]
       quorvik-island answer <id> allow --choose <label>…|--text <text> [--next …]

Answers what an agent asks. `quorvik-island requests` tells the ids.

  allow    this once; of questions: here are the answers
  always   this, and from now on what `requests` says that it grants
  deny     no; --message tells the agent why
  ask      the agent asks in its own interface

Questions are answered in their order, with --next between two of them:

  --choose <label>   an option of the question; several where it takes several
  --text <text>      an answer in your own words

Exit status: 0 when the agent has been given the answer; 1 when the request is withdrawn, answered already,
unknown, or takes no such answer; 3 when the command line does not make sense. An agent cannot answer, for
itself or for another.

Examples:
  quorvik-island answer 3f2504e0 deny --message "not on a Friday"
  quorvik-island answer 9a0c0305 allow --choose Red --choose Green --next --text "as small as it can be"
)";

/// What was typed for one question: labels, or one text.
struct TypedAnswer {
    std::vector<std::string> labels;
    std::optional<std::string> text;

    bool isEmpty() const { return labels.empty() && !text; }
};

struct CommandLine {
    bool wantsHelp = false;
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

std::optional<ApprovalDecision> decisionOf(std::string_view word) {
    if (word == "always") return ApprovalDecision::allowAlways;
    if (word == rawValue(ApprovalDecision::allowAlways)) return std::nullopt; // one word for it is enough
    return fromRawValue<ApprovalDecision>(word);
}

void addAnswer(std::vector<TypedAnswer>& answers, const std::string& option, std::string value) {
    if (answers.empty()) answers.emplace_back();
    TypedAnswer& answer = answers.back();
    const bool isText = option == "--text";
    if (answer.text || (isText && !answer.labels.empty()))
        throw UsageError("answer: a question takes options or one text; --next begins the next question");
    if (isText)
        answer.text = std::move(value);
    else
        answer.labels.push_back(std::move(value));
}

/// The order of these options counts, so they are read one by one.
CommandLine parse(std::span<const std::string> commandLine) {
    CommandLine parsed;
    std::vector<std::string> words;
    bool optionsEnded = false;
    for (std::size_t index = 0; index < commandLine.size(); ++index) {
        const std::string& word = commandLine[index];
        if (optionsEnded || !word.starts_with('-')) {
            words.push_back(word);
        } else if (word == "--") {
            optionsEnded = true;
        } else if (word == "--help" || word == "-h") {
            parsed.wantsHelp = true;
        } else if (word == "--next") {
            if (parsed.answers.empty() || parsed.answers.back().isEmpty())
                throw UsageError("answer: there is no answer before --next");
            parsed.answers.emplace_back();
        } else {
            const std::size_t equals = word.find('=');
            const std::string option = word.substr(0, equals);
            if (option != "--message" && option != "--choose" && option != "--text")
                throw UsageError("unknown option " + option);
            std::string value;
            if (equals != word.npos)
                value = word.substr(equals + 1);
            else if (index + 1 < commandLine.size())
                value = commandLine[++index];
            if (value.empty()) throw UsageError(option + " needs a value");
            if (option == "--message")
                parsed.response.message = std::move(value);
            else
                addAnswer(parsed.answers, option, std::move(value));
        }
    }
    if (parsed.wantsHelp) return parsed;
    if (words.size() < 2) throw UsageError("answer: say which request, and allow, always, deny or ask");
    if (words.size() > 2) throw UsageError("answer: unexpected argument " + words[2]);
    const auto decision = decisionOf(words[1]);
    if (!decision) throw UsageError("answer: unknown decision " + words[1]);
    parsed.id = words[0];
    parsed.response.decision = *decision;
    if (parsed.response.message && decision != ApprovalDecision::deny)
        throw UsageError("answer: --message goes with deny");
    if (!parsed.answers.empty() && decision != ApprovalDecision::allow)
        throw UsageError("answer: answers go with allow");
    if (!parsed.answers.empty() && parsed.answers.back().isEmpty())
        throw UsageError("answer: there is no answer after --next");
    return parsed;
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
std::vector<std::string> answerTexts(const std::vector<TypedAnswer>& typed, const ApprovalRequest* request) {
    constexpr int unfit = 13; // docs/control.md
    std::vector<std::string> texts;
    for (const TypedAnswer& answer : typed) {
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

int run(std::span<const std::string> commandLine) {
    CommandLine parsed = parse(commandLine);
    if (parsed.wantsHelp) return printHelp(help);

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
