#include "quorvik_island/Commands/RequestsCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"
#include "QuorvikApp/FrontEnds/Age.h"
#include "QuorvikApp/Model/RequestCard.h"

#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Text/Unicode.h"

namespace quorvik::RequestsCommand {

namespace {

std::string_view sign(CardLine::Kind kind) {
    switch (kind) {
    case CardLine::Kind::command: return "$ ";
    case CardLine::Kind::removed: return "- ";
    case CardLine::Kind::added: return "+ ";
    case CardLine::Kind::context: return "  ";
    case CardLine::Kind::note: return "# ";
    case CardLine::Kind::text:
    case CardLine::Kind::member: break;
    }
    return "";
}

/// Everything about one request, for somebody who decides about it.
std::string card(const WaitingRequest& waiting, bool hidesSecrets) {
    const auto secrets = hidesSecrets ? RequestCard::credentials : RequestCard::SecretFinder();
    const RequestCard card = RequestCard::of(waiting, secrets, Platform::homeFolder());
    std::string lines = card.headline + (card.body.empty() ? "\n" : "\n\n");
    const auto add = [&](std::string_view start, const CardLine& line) {
        lines.append(start).append(line.text) += '\n';
    };
    for (const CardLine& line : card.body)
        add(sign(line.kind), line);
    for (const CardQuestion& question : card.questions) {
        lines += '\n';
        for (const CardLine& line : question.text)
            add("", line);
        for (const CardQuestion::Option& option : question.options) {
            add(question.multiSelect ? "  [] " : "  o ", option.label);
            if (!option.description.text.empty()) add("       ", option.description);
        }
    }
    for (const std::string& grant : card.grants)
        lines += "\nalways: " + grant;
    if (!card.grants.empty()) lines += '\n';
    if (card.hidesSecrets) lines += "\n# --show-hidden shows what is hidden\n";
    if (!card.whyNoAllow.empty()) lines += "\n# " + card.whyNoAllow + "\n";
    return lines;
}

} // namespace

std::string what(const ApprovalRequest& request) {
    std::string text = request.tool.value_or("");
    if (request.isQuestion()) {
        const std::size_t count = request.questions->size();
        text = std::to_string(count) + (count == 1 ? " question" : " questions");
    }
    const std::string summary = request.summary.value_or("");
    return Unicode::terminalLine(text.empty() || summary.empty() ? text + summary : text + ": " + summary);
}

int run(const Arguments& arguments) {
    if (!arguments.words.empty() && arguments.has("--json"))
        throw UsageError("requests: --json is for all requests");
    if (arguments.words.empty() && arguments.has("--show-hidden"))
        throw UsageError("requests: --show-hidden is for one request");

    Console console(arguments.has("--json"));
    const Snapshot snapshot = ControlClient::connect("command", ControlClient::Start::never).snapshot();
    if (!arguments.words.empty()) {
        const WaitingRequest* waiting = snapshot.request(arguments.words.front());
        if (waiting)
            console.text(card(*waiting, !arguments.has("--show-hidden")));
        else
            console.fail("requests: there is no such request");
        return console.exitStatus();
    }
    nlohmann::json list = nlohmann::json::array();
    std::string lines;
    for (const auto& waiting : snapshot.requests) {
        const ApprovalRequest& request = waiting->request;
        nlohmann::json members = parseJSON(waiting->members).value_or(request.toJSON());
        members["receivedAt"] = secondsSince1970(waiting->receivedAt);
        list.push_back(std::move(members));

        std::string grants;
        for (const std::string& grant : waiting->grants)
            grants += (grants.empty() ? "always: " : "; ") + grant;
        std::string_view separator;
        for (const std::string& column : {request.id, std::string(mark(request.source)),
                                          age(waiting->receivedAt), what(request), grants}) {
            lines.append(separator).append(Unicode::terminalLine(column));
            separator = "\t";
        }
        lines += '\n';
    }
    console.text(lines);
    console.value(list);
    return console.exitStatus();
}

} // namespace quorvik::RequestsCommand
