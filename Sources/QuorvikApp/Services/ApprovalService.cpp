#include "QuorvikApp/Services/ApprovalService.h"

#include "QuorvikCore/Approvals/ApprovalWire.h"
#include "QuorvikCore/JSON/RecordCoding.h"

namespace quorvik {

namespace {

constexpr LineLimits limits{.lineBytes = ApprovalWire::maxLine,
                            .outputBytes = 2 * ApprovalWire::maxLine,
                            .peers = RequestBoard::mostWaiting + 64, // the rest are on their way in or out
                            .firstLine = Timer::Seconds(5),
                            .stalled = Timer::Seconds(10)};

using Reason = RequestBoard::Refusal::Reason;

} // namespace

ApprovalService::ApprovalService(EventLoop& loop, IslandModel& model, EventLoop::Handler changed,
                                 EventLoop::Handler hookGone)
    : loop_(loop), model_(model), changed_(std::move(changed)), hookGone_(std::move(hookGone)),
      server_(loop, limits,
              [this](const std::shared_ptr<LineConnection>& connection) { accepted(connection); }) {}

void ApprovalService::accepted(const std::shared_ptr<LineConnection>& connection) {
    if (isStopping_ || !model_.settings().approvals) return connection->close();
    connection->onLine = [this, weak = std::weak_ptr(connection)](const std::string& line) {
        if (const auto kept = weak.lock()) take(kept, line);
    };
}

void ApprovalService::take(const std::shared_ptr<LineConnection>& connection, const std::string& line) {
    connection->onLine = {}; // a connection carries one request
    try {
        const auto value = parseJSON(line);
        if (!value) throw RecordError("not JSON");
        const ApprovalRequest request = ApprovalRequest::fromJSON(*value);
        if (!model_.addRequest(request, line, loop_.now())) throw RecordError("not taken");
        waiting_[request.id] = connection;
        connection->onClosed = [this, id = request.id] {
            waiting_.erase(id);
            model_.withdrawRequest(id, loop_.now());
            changed_();
            hookGone_();
        };
        changed_();
    } catch (const RecordError&) {
        connection->close(); // which the hook reads as "nobody answers": the agent asks by itself
    }
}

void ApprovalService::answer(const std::string& id, const ApprovalResponse& response, const std::string& by,
                             Answered done) {
    if (auto refusal = model_.checkAnswer(id, response)) return done(std::move(refusal));
    const auto found = waiting_.find(id);
    std::string line = printJSON(response.toJSON());
    if (line.size() >= ApprovalWire::maxLine)
        return done(RequestBoard::Refusal{Reason::unfit, "the answer is too long"});
    if (found == waiting_.end()) return done(RequestBoard::Refusal{Reason::withdrawn, "withdrawn"});
    const auto connection = found->second;
    waiting_.erase(found);
    // From here on it is answered: whoever answers next is told so, whatever the hook does now.
    model_.requestAnswered(id, response.decision, by, loop_.now());
    connection->send(std::move(line), [done = std::move(done)](bool success) {
        if (success)
            done(std::nullopt);
        else
            done(RequestBoard::Refusal{Reason::withdrawn, "withdrawn"});
    });
    connection->closeWhenSent();
    changed_();
}

void ApprovalService::settingsChanged() {
    if (!model_.settings().approvals) sendAllAway();
}

void ApprovalService::sendAllAway() {
    for (const auto& [id, connection] : std::exchange(waiting_, {})) {
        connection->close();
        model_.withdrawRequest(id, loop_.now());
    }
    changed_();
}

void ApprovalService::stop() {
    isStopping_ = true;
    sendAllAway();
}

} // namespace quorvik
