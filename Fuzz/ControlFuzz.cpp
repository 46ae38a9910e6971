// What comes over the app's sockets becomes an answer, whatever it is: a line of a front end a message or a
// fault, a hook's line a request that front ends read back as it was sent. Input: lines; each is taken for a
// message, for a request and for an alert.

#include "Fuzz/Check.h"

#include "QuorvikApp/Control/Protocol.h"
#include "QuorvikApp/Model/IslandModel.h"

#include <cstdint>

namespace {

using namespace quorvik;

const Date now = dateFromSeconds(1'763'700'000);

void checkMessage(std::string_view line) {
    ControlProtocol::Fault fault{};
    const auto message = ControlProtocol::parse(line, fault);
    const std::string reply = message ? ControlProtocol::result(message->id, nullptr)
                                      : ControlProtocol::error(fault.id, fault.code, fault.message);
    CHECK(reply.find('\n') == reply.npos);
    CHECK(parseJSON(reply));
}

void checkRequest(IslandModel& model, const std::string& line) {
    const auto value = parseJSON(line);
    if (!value) return;
    try {
        const ApprovalRequest request = ApprovalRequest::fromJSON(*value);
        if (!model.addRequest(request, line, now)) return;
        const Snapshot shown = model.snapshot(now);
        SnapshotWriter writer;
        const std::string text = writer.text(shown);
        CHECK(text.find('\n') == text.npos);
        const Snapshot read = Snapshot::fromJSON(text, &shown);
        CHECK(read.requests.size() == 1);
        CHECK(read.requests.front()->request == request);
        CHECK(read.requests.front()->grants == shown.requests.front()->grants);
        CHECK(writer.text(read) == writer.text(Snapshot::fromJSON(writer.text(read))));
        for (const ApprovalDecision decision : {ApprovalDecision::allow, ApprovalDecision::allowAlways}) {
            const auto refused = model.checkAnswer(request.id, {decision, std::nullopt, std::nullopt});
            // Never more than the agent asked for, never an answer without its questions.
            if (decision == ApprovalDecision::allowAlways && !refused)
                CHECK(!read.requests.front()->grants.empty());
            if (request.isQuestion()) CHECK(refused);
        }
        model.why("", now);
        model.withdrawRequest(request.id, now);
        CHECK(model.snapshot(now).requests.empty());
    } catch (const RecordError&) {
    }
}

void checkAlert(IslandModel& model, const std::string& line) {
    const auto value = parseJSON(line);
    if (!value) return;
    try {
        const AlertRequest alert = AlertRequest::fromJSON(*value);
        CHECK(model.addAlert(alert, now).status == "ok");
    } catch (const RecordError&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    IslandModel model;
    for (std::size_t start = 0; start <= text.size();) {
        const auto end = std::min(text.find('\n', start), text.size());
        const std::string line(text.substr(start, end - start));
        checkMessage(line);
        checkRequest(model, line);
        checkAlert(model, line);
        start = end + 1;
    }
    CHECK(model.snapshot(now).alerts.size() <= AlertBoard::most);
    return 0;
}
