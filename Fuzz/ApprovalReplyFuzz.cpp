// Question lists, suggested rules and answers of any content give a reply that is one line of JSON, or none.
// The first byte chooses the agent and the decision; the rest is the agent's text, a line feed, and the app's
// answer.

#include "QuorvikCore/Approvals/ApprovalWire.h"
#include "QuorvikCore/JSON/RawJSON.h"

#include <cstdint>
#include <cstdlib>

using namespace quorvik;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const Source agent = agentSources()[data[0] % agentSources().size()];
    const std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::size_t lineEnd = std::min(rest.find('\n'), rest.size());
    const std::string agents(rest.substr(0, lineEnd));
    const std::string answer(rest.substr(std::min(lineEnd + 1, rest.size())));

    ApprovalRequest request{.source = agent, .suggestions = agents, .questionsJSON = agents};
    request.questions = Question::parse(parseJSON(agents).value_or(nullptr));
    ApprovalResponse response{.message = answer, .answers = std::vector<std::string>(data[0] / 64u, answer)};
    if (const auto sent = parseJSON(answer)) {
        try {
            response = ApprovalResponse::fromJSON(*sent);
        } catch (const RecordError&) {
        }
    }
    for (std::size_t index = 0; index < rawValues<ApprovalDecision>.size(); ++index) {
        response.decision = static_cast<ApprovalDecision>(index);
        const auto reply = ApprovalWire::hookOutput(request, response);
        if (!reply) continue;
        if (reply->find('\n') != reply->npos || RawJSON::value(*reply) != *reply) std::abort();
        if (RawJSON::members(*reply)->size() > 3) std::abort(); // nothing was smuggled in
    }
    return 0;
}
