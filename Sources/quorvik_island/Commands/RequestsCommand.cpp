#include "quorvik_island/Commands/RequestsCommand.h"

#include "quorvik_island/Age.h"
#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"

#include "QuorvikCore/Text/Unicode.h"

#include <array>

namespace quorvik::RequestsCommand {

namespace {

constexpr std::string_view help =
    R"help(usage: quorvik-island requests [--json]

Prints what agents wait for, the oldest first: a line each, with tabs between

  its id, which `quorvik-island answer` takes
  the agent's mark
  how long it has waited
  the tool and its most telling argument, secrets masked; of questions the number too
  what "always" would grant, where that is offered

An answer is decided upon more than this line: --json has the whole input, and the live island shows it.

  --json   one array: the requests as the hooks sent them, with "receivedAt", in seconds since 1970

Examples:
  quorvik-island requests --json | jq -r '.[] | .id, .input'
  quorvik-island answer "$(quorvik-island requests | head -n 1 | cut -f 1)" deny
)help";

/// "Bash: git push"; "2 questions: Which colour?".
std::string what(const ApprovalRequest& request) {
    std::string text = request.tool.value_or("");
    if (request.isQuestion()) {
        const std::size_t count = request.questions->size();
        text = std::to_string(count) + (count == 1 ? " question" : " questions");
    }
    const std::string summary = request.summary.value_or("");
    return text.empty() || summary.empty() ? text + summary : text + ": " + summary;
}

} // namespace

int run(std::span<const std::string> commandLine) {
    constexpr std::array<std::string_view, 1> flags = {"--json"};
    const Arguments arguments = Arguments::parse(commandLine, flags, {});
    if (arguments.has("--help")) return printHelp(help);
    if (!arguments.words.empty())
        throw UsageError("requests: unexpected argument " + arguments.words.front());

    Console console(arguments.has("--json"));
    const Snapshot snapshot = ControlClient::connect("command", ControlClient::Start::never).snapshot();
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
