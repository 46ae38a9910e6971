#include "QuorvikApp/Services/AlertService.h"

#include "QuorvikCore/Alerts/AlertValidator.h"
#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

namespace quorvik {

namespace {

constexpr LineLimits limits{.lineBytes = AlertWire::maxLine,
                            .outputBytes = 2 * AlertWire::maxLine,
                            .peers = 256,
                            .firstLine = Timer::Seconds(3),
                            .stalled = Timer::Seconds(3)};

/// The alert as a validating client would have sent it. Throws AlertRejection.
AlertRequest validated(const AlertRequest& sent) {
    AlertValidator::RawFields fields;
    fields.title = sent.title;
    fields.body = sent.body;
    fields.level = std::string(rawValue(sent.level));
    fields.open = sent.open;
    fields.id = sent.id;
    fields.ttl = std::to_string(sent.ttl);
    return AlertValidator::make(fields, QuorvikPaths::home().string());
}

} // namespace

AlertService::AlertService(EventLoop& loop, IslandModel& model, EventLoop::Handler changed)
    : loop_(loop), model_(model), changed_(std::move(changed)),
      server_(loop, limits,
              [this](const std::shared_ptr<LineConnection>& connection) { accepted(connection); }) {}

void AlertService::accepted(const std::shared_ptr<LineConnection>& connection) {
    connection->onLine = [this, weak = std::weak_ptr(connection)](const std::string& line) {
        const auto kept = weak.lock();
        if (!kept) return;
        const AlertReply answer = reply(line);
        nlohmann::json object = {{"status", answer.status}};
        writeOptional(object, "message", answer.message);
        kept->send(printJSON(object));
        kept->closeWhenSent();
    };
}

AlertReply AlertService::reply(const std::string& line) {
    try {
        const auto value = parseJSON(line);
        if (!value) throw RecordError("not JSON");
        const AlertRequest alert = validated(AlertRequest::fromJSON(*value));
        const AlertReply answer = model_.addAlert(alert, loop_.now());
        changed_();
        return answer;
    } catch (const RecordError& error) {
        return {"rejected", "no alert: " + std::string(error.what())};
    } catch (const AlertRejection& rejection) {
        return {"rejected", rejection.what()};
    }
}

} // namespace quorvik
