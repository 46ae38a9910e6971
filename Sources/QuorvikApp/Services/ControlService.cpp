#include "QuorvikApp/Services/ControlService.h"

#include "QuorvikApp/Control/ControlClient.h"
#include "QuorvikApp/Control/Version.h"
#include "QuorvikApp/Services/AnswerGuard.h"
#include "QuorvikApp/Services/Log.h"

#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Platform/BuildInfo.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <unistd.h>

#include <algorithm>

namespace quorvik {

namespace {

using namespace ControlProtocol;

constexpr LineLimits limits{.lineBytes = maxLine,
                            .outputBytes = 16 << 20, // replies that a front end asks for and does not read
                            .peers = 256,
                            .firstLine = Timer::Seconds(5),
                            .stalled = Timer::Seconds(30)};

/// Most lines of a front end that are no JSON before it is disconnected.
constexpr int mostFaults = 3;

constexpr std::string_view revisionMember = ",\"revision\":";

/// Whether two states differ in nothing but their revision.
bool isSameState(std::string_view first, std::string_view second) {
    const auto split = [](std::string_view text) {
        // The last such text is the member of the state itself: what follows it holds no member of that name.
        const std::size_t start = std::min(text.rfind(revisionMember), text.size());
        const std::size_t digits = std::min(start + revisionMember.size(), text.size());
        const std::size_t end = std::min(text.find_first_not_of("0123456789", digits), text.size());
        return std::pair(text.substr(0, start), text.substr(end));
    };
    return split(first) == split(second);
}

/// A parameter of a message, strictly.
template <typename T>
T parameter(const Message& message, std::string_view name) {
    T value{};
    RecordReader(message.params).required(name, value);
    return value;
}

template <typename T>
std::optional<T> optionalParameter(const Message& message, std::string_view name) {
    std::optional<T> value;
    RecordReader(message.params).optional(name, value);
    return value;
}

} // namespace

ControlService::ControlService(EventLoop& loop, IslandModel& model, ApprovalService& approvals, App app)
    : loop_(loop), model_(model), approvals_(approvals), app_(std::move(app)),
      server_(loop, limits,
              [this](const std::shared_ptr<LineConnection>& connection) { accepted(connection); }),
      startedAt_(loop.now()) {}

void ControlService::accepted(const std::shared_ptr<LineConnection>& connection) {
    auto frontEnd = std::make_shared<FrontEnd>();
    frontEnd->connection = connection;
    frontEnd->since = loop_.now();
    connection->onLine = [this, weak = std::weak_ptr(frontEnd)](const std::string& line) {
        if (const auto kept = weak.lock()) take(kept, line);
    };
    connection->onClosed = [this, raw = frontEnd.get()] {
        const auto found = std::ranges::find_if(
            frontEnds_, [&](const FrontEndPointer& other) { return other.get() == raw; });
        if (found == frontEnds_.end()) return;
        (*found)->connection->closeWhenSent(); // whoever only stopped speaking still gets its replies
        const bool wasFrontEnd = (*found)->isSubscribed;
        frontEnds_.erase(found);
        app_.changed();
        if (wasFrontEnd) app_.frontEndsChanged();
    };
    frontEnds_.push_back(std::move(frontEnd));
}

void ControlService::take(const FrontEndPointer& frontEnd, const std::string& line) {
    LineConnection& connection = *frontEnd->connection;
    Fault fault;
    const auto message = parse(line, fault);
    if (!message) {
        connection.send(error(fault.id, fault.code, fault.message));
        if (fault.code != notJSON || ++frontEnd->faults < mostFaults) return;
        connection.closeWhenSent();
        std::erase(frontEnds_, frontEnd);
        return;
    }
    try {
        handle(frontEnd, *message);
    } catch (const ControlError& refusal) {
        if (!message->id.is_null())
            connection.send(error(message->id, static_cast<Code>(refusal.code()), refusal.what()));
    } catch (const RecordError& wrong) {
        if (!message->id.is_null()) connection.send(error(message->id, wrongParameters, wrong.what()));
    } catch (const std::exception& failure) { // one front end's message must not end the app
        Log::line("a message failed: " + std::string(failure.what()));
        if (!message->id.is_null()) connection.send(error(message->id, ourFault, "Quorvik failed here"));
    }
}

void ControlService::handle(const FrontEndPointer& frontEnd, const Message& message) {
    LineConnection& connection = *frontEnd->connection;
    const auto reply = [&](const nlohmann::json& value) {
        if (!message.id.is_null()) connection.send(result(message.id, value));
    };
    const std::string& method = message.method;
    // Said at once, so that whoever comes now waits for the end and starts the next app.
    if (isStopping_) throw ControlError(stopping, "Quorvik is about to end");
    if (method == "hello") return reply(hello(*frontEnd, message));
    if (!frontEnd->saidHello) throw ControlError(noHello, "the first message must be hello");
    if (method == "snapshot" || method == "subscribe") {
        publish(); // so that nobody gets an older state than was there when it asked
        if (!message.id.is_null()) connection.send(resultText(message.id, state_));
        if (method == "subscribe" && !std::exchange(frontEnd->isSubscribed, true)) app_.frontEndsChanged();
        return;
    }
    if (method == "sync") {
        return app_.sync([this, frontEnd, promise = connection.promise(), id = message.id] {
            publish();
            if (!id.is_null()) frontEnd->connection->send(result(id, {{"revision", revision_}}));
        });
    }
    if (method == "shown") {
        frontEnd->shown = parameter<std::vector<std::string>>(message, "requests");
        app_.changed();
        return reply(nlohmann::json::object());
    }
    if (method == "answer") return answer(frontEnd, message);
    if (method == "acknowledge") return reply(acknowledge(message));
    if (method == "pick") return reply(pick(message));
    if (method == "pauseAlerts") return reply(pauseAlerts(message));
    if (method == "status") return reply(status());
    if (method == "signals") return reply(signals());
    if (method == "changes") return reply(changes(message).toJSON());
    if (method == "diff") return diff(frontEnd, message);
    if (method == "clipboard") return reply(clipboard(message));
    if (method == "why") {
        const auto key = optionalParameter<std::string>(message, "key").value_or("");
        const std::vector<std::string> lines = model_.why(key, loop_.now());
        if (lines.empty() && !key.empty()) throw ControlError(unknownThing, "nothing is known of " + key);
        return reply({{"lines", lines}});
    }
    if (method == "stop") return reply(stopApp(message));
    throw ControlError(unknownMethod, "there is no method " + method);
}

nlohmann::json ControlService::hello(FrontEnd& frontEnd, const Message& message) {
    const auto protocol = parameter<int>(message, "protocol");
    constexpr std::size_t longestRole = 20, longestProgram = 1024; // bytes; what is said of others is bounded
    frontEnd.role =
        optionalParameter<std::string>(message, "role").value_or("command").substr(0, longestRole);
    frontEnd.program =
        optionalParameter<std::string>(message, "program").value_or("").substr(0, longestProgram);
    if (protocol != ControlProtocol::version)
        throw ControlError(noHello, "Quorvik " + std::string(BuildInfo::version()) + " (" +
                                        Version::program() + ") speaks protocol " +
                                        std::to_string(ControlProtocol::version) + ", not " +
                                        std::to_string(protocol));
    if (frontEnd.role == "overlay")
        for (const FrontEndPointer& other : frontEnds_)
            if (other.get() != &frontEnd && other->saidHello && other->role == frontEnd.role)
                throw ControlError(roleTaken, "an overlay runs already (process " +
                                                  std::to_string(other->connection->peer().pid) + ")");
    frontEnd.saidHello = true;
    return {{"protocol", ControlProtocol::version},
            {"version", BuildInfo::version()},
            {"program", Version::program()},
            {"pid", ::getpid()},
            {"startedAt", secondsSince1970(startedAt_)}};
}

nlohmann::json ControlService::status() {
    publish();
    nlohmann::json frontEnds = nlohmann::json::array();
    for (const FrontEndPointer& other : frontEnds_)
        if (other->saidHello && other->role != "command")
            frontEnds.push_back({{"role", other->role},
                                 {"program", other->program},
                                 {"pid", other->connection->peer().pid},
                                 {"since", secondsSince1970(other->since)}});
    return {{"version", BuildInfo::version()},
            {"program", Version::program()},
            {"pid", ::getpid()},
            {"startedAt", secondsSince1970(startedAt_)},
            {"folder", QuorvikPaths::supportDirectory().string()},
            {"revision", revision_},
            {"frontEnds", frontEnds},
            {"requests", model_.requests().waiting().size()},
            {"troubles", model_.snapshot(loop_.now()).troubles}};
}

nlohmann::json ControlService::signals() const {
    nlohmann::json list = nlohmann::json::array();
    for (const SignalStatus& signal : app_.signals())
        list.push_back(signal.toJSON());
    return {{"signals", list}};
}

const ItemChanges& ControlService::changes(const Message& message) const {
    const auto key = parameter<std::string>(message, "key");
    const ItemChanges* changes = app_.git().changes(key);
    if (!changes) throw ControlError(unknownThing, "no changes are known under " + key);
    return *changes;
}

void ControlService::diff(const FrontEndPointer& frontEnd, const Message& message) const {
    const ItemChanges& changes = this->changes(message);
    const auto path = parameter<std::string>(message, "path");
    const auto to = optionalParameter<std::string>(message, "to");
    if (to && to != changes.range.to)
        throw ControlError(unknownThing, "newer changes have taken the place of these");
    const auto file = std::ranges::find(changes.set.files, path, &FileChange::path);
    if (file == changes.set.files.end()) throw ControlError(unknownThing, "no file " + path + " was changed");
    app_.git().diff(changes.range, *file,
                    [connection = frontEnd->connection, promise = frontEnd->connection->promise(),
                     id = message.id](const std::optional<FileDiff>& diff, const std::string& why) {
                        if (!id.is_null())
                            connection->send(diff ? result(id, diffJSON(*diff)) : error(id, toolFailed, why));
                    });
}

nlohmann::json ControlService::clipboard(const Message& message) {
    ClipboardSignal& signal = app_.clipboard();
    const ClipboardItem* item = signal.item();
    if (!item) throw ControlError(unknownThing, "nothing is offered for what was copied");
    const auto action = optionalParameter<std::string>(message, "action");
    if (action == "clear")
        signal.clear();
    else if (action == "copy" && !signal.copy())
        throw ControlError(unknownThing, "there is no whole text that could be copied");
    else if (action && action != "copy")
        throw RecordError("action must be copy or clear");
    nlohmann::json result = {{"canBeCopied", item->canBeCopied}};
    if (item->text) result["text"] = *item->text;
    return result;
}

nlohmann::json ControlService::acknowledge(const Message& message) {
    std::size_t count = 0;
    if (optionalParameter<bool>(message, "all").value_or(false)) {
        count = model_.acknowledgeAll(loop_.now());
    } else {
        const auto key = parameter<std::string>(message, "key");
        if (!model_.acknowledge(key, loop_.now()))
            throw ControlError(unknownThing, "there is nothing to wave away under " + key);
        count = 1;
    }
    app_.changed();
    return {{"acknowledged", count}};
}

nlohmann::json ControlService::pick(const Message& message) {
    if (const auto key = optionalParameter<std::string>(message, "key")) {
        if (!model_.pick(*key, loop_.now()))
            throw ControlError(unknownThing, "no item that is shown has the key " + *key);
    } else {
        model_.unpick(loop_.now());
    }
    app_.changed();
    return nlohmann::json::object();
}

nlohmann::json ControlService::pauseAlerts(const Message& message) {
    const auto seconds = parameter<double>(message, "seconds");
    if (seconds < 0 || seconds > IslandModel::longestPause)
        throw RecordError("seconds must be a number, 0 to 86400");
    model_.pauseAlerts(seconds, loop_.now());
    app_.changed();
    nlohmann::json result = nlohmann::json::object();
    writeOptional(result, "until", model_.memory().alertsPausedUntil);
    return result;
}

void ControlService::answer(const FrontEndPointer& frontEnd, const Message& message) {
    const auto id = parameter<std::string>(message, "id");
    const ApprovalResponse response = ApprovalResponse::fromJSON(message.params);
    const AnswerGuard::Verdict verdict =
        AnswerGuard::judge(frontEnd->connection->peer().pid, model_.sessions().records);
    if (!verdict.reason.empty()) {
        model_.answerRefused(id, verdict.who, loop_.now());
        Log::line("refused an answer to request " + id + ": " + verdict.who + ": " + verdict.reason);
        app_.changed();
        throw ControlError(agentRefused, verdict.reason);
    }
    const std::string by =
        frontEnd->role == "command" ? verdict.who : "the " + frontEnd->role + " (" + verdict.who + ")";
    approvals_.answer(id, response, by,
                      [connection = frontEnd->connection, promise = frontEnd->connection->promise(),
                       replyID = message.id](const std::optional<RequestBoard::Refusal>& refusal) {
                          if (replyID.is_null()) return;
                          connection->send(
                              refusal ? error(replyID, static_cast<Code>(refusal->reason), refusal->message)
                                      : result(replyID, nlohmann::json::object()));
                      });
}

nlohmann::json ControlService::stopApp(const Message& message) {
    const std::size_t waiting = model_.requests().waiting().size();
    if (const auto newer = optionalParameter<std::string>(message, "replacedBy"); newer && waiting > 0)
        throw ControlError(requestsWait,
                           std::to_string(waiting) + (waiting == 1 ? " request waits" : " requests wait"));
    loop_.later(app_.stop);
    return nlohmann::json::object();
}

void ControlService::publish() {
    Snapshot snapshot = model_.snapshot(loop_.now());
    snapshot.revision = revision_ + 1;
    std::string text = writer_.text(snapshot);
    if (revision_ > 0 && isSameState(text, state_)) return;
    state_ = std::move(text);
    ++revision_;
    LineConnection::Text line;
    for (const FrontEndPointer& frontEnd : frontEnds_) {
        if (!frontEnd->isSubscribed) continue;
        if (!line) line = std::make_shared<const std::string>(notificationText("snapshot", state_));
        frontEnd->connection->sendLatest(line);
    }
}

bool ControlService::isShown(std::string_view request) const {
    return std::ranges::any_of(frontEnds_, [&](const FrontEndPointer& frontEnd) {
        return std::ranges::find(frontEnd->shown, request) != frontEnd->shown.end();
    });
}

bool ControlService::hasFrontEnds() const {
    return std::ranges::any_of(frontEnds_,
                               [](const FrontEndPointer& frontEnd) { return frontEnd->isSubscribed; });
}

void ControlService::stop() {
    isStopping_ = true;
    for (const FrontEndPointer& frontEnd : std::exchange(frontEnds_, {}))
        frontEnd->connection->closeWhenSent();
}

} // namespace quorvik
