// Whatever an agent hands to its hook: no crash, the grammar's verdict agrees with another reader's, and what
// comes out is fit to be written and sent. The first byte chooses the agent.

#include "QuorvikCore/Agents/EventReducer.h"
#include "QuorvikCore/Agents/PayloadNormaliser.h"
#include "QuorvikCore/Approvals/ApprovalWire.h"
#include "QuorvikCore/JSON/OrderedJSON.h"
#include "QuorvikCore/Text/Unicode.h"

#include <cstdint>
#include <cstdlib>

using namespace quorvik;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const Source agent = agentSources()[data[0] % agentSources().size()];
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const bool accepted = nlohmann::json::accept(Unicode::repaired(bytes));
    if (accepted && !bytes.starts_with("\xEF\xBB\xBF") && bytes.find('\0') == bytes.npos &&
        !RawJSON::value(bytes))
        std::abort();

    auto payload = HookPayload::read(bytes);
    if (!payload ||
        PayloadNormaliser::normalise(*payload, agent, {"/p", "/h"}) == PayloadNormaliser::Verdict::drop)
        return 0;
    const auto event = HookEvent::fromPayload(*payload);
    if (!event) return 0;
    SessionRecord record(agent, event->sessionID, event->cwd, dateFromSeconds(0));
    EventReducer::apply(*event, record, dateFromSeconds(1));
    if (auto question = event->firstQuestion()) record.summary = std::move(question);
    if (SessionRecord::fromJSON(*RawJSON::object(printJSON(record.toJSON()))) != record) std::abort();
    if (auto request = event->approvalRequest(agent, "id")) {
        request->input = HookEvent::toolInputText(*payload);
        const auto line = ApprovalWire::requestLine(*request);
        const auto sent = line ? ApprovalRequest::fromJSON(*parseJSON(*line)) : *request;
        if (!sent.inputTruncated && sent != *request) std::abort();
    }
    return 0;
}
