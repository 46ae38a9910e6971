#include "quorvik_island/Terminal/FrontEnd.h"

namespace quorvik {

double steadySeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

Moment momentNow() {
    return {std::chrono::system_clock::now(), steadySeconds()};
}

FrontEnd::FrontEnd(const IslandServices& services) : view(services.look), services_(services) {
    findAgents();
}

void FrontEnd::findAgents() {
    if (services_.findAgents) view.found(services_.findAgents());
}

void FrontEnd::lose(const std::string& why) {
    constexpr double pause = 2; // seconds; an idle island wakes up less than once a second
    client_.reset();
    answers_.clear();
    looks_.clear();
    shown_.clear();
    retryAt_ = steadySeconds() + pause;
    view.disconnected(why);
}

/// Calls `talk` with the connection, if there is one. Errors are shown in the view; a lost connection is
/// closed.
template <typename Talk>
void FrontEnd::talk(Talk talk) {
    if (!client_) return;
    try {
        talk(*client_);
    } catch (const ControlError& error) {
        view.say(error.what());
    } catch (const NoApp& error) {
        lose(error.what());
    } catch (const RecordError& error) {
        view.say("the app said what nobody understands: " + std::string(error.what()));
    }
}

void FrontEnd::connect(ControlClient::Start start) {
    if (start == ControlClient::Start::ifMissing) view.disconnected("connecting");
    connector_.start(start);
}

void FrontEnd::awaitConnection(ControlClient::Seconds longest) {
    if (connector_.wait(longest)) read();
}

void FrontEnd::reconnect() {
    if (reconnectAt() && steadySeconds() >= retryAt_) connect(ControlClient::Start::never);
}

void FrontEnd::read() {
    auto result = connector_.take();
    if (auto* client = std::get_if<ControlClient>(&result)) client_.emplace(std::move(*client));
    if (const auto* why = std::get_if<std::string>(&result)) lose(*why);
    talk([&](ControlClient& client) {
        while (const auto message = client.read()) {
            if (const auto* snapshot = std::get_if<std::shared_ptr<const Snapshot>>(&*message)) {
                view.show(*snapshot);
                continue;
            }
            const auto& reply = std::get<ControlClient::Reply>(*message);
            if (looks_.erase(reply.id) > 0) {
                if (reply.id != lastLook_) continue;
                if (reply.error)
                    view.notLooked(reply.error->what());
                else
                    view.looked(reply.result);
                continue;
            }
            const auto answer = answers_.extract(reply.id);
            if (!reply.error) continue;
            if (answer.empty())
                view.say(reply.error->what());
            else
                view.refused(answer.mapped(), reply.error->what());
        }
    });
}

void FrontEnd::tellShown(const Frame& frame) {
    const std::string request = frame.card && !view.isExample() ? frame.card->request : "";
    if (request == shown_) return;
    shown_ = request;
    talk([&](ControlClient& client) {
        auto ids = nlohmann::json::array();
        if (!request.empty()) ids.push_back(request);
        client.send("shown", {{"requests", ids}});
    });
}

bool FrontEnd::perform(const Effect& effect) {
    switch (effect.kind) {
    case Effect::Kind::answer:
        if (!client_) view.refused(effect.id, "Quorvik is not running");
        talk([&](ControlClient& client) {
            nlohmann::json params = effect.response.toJSON();
            params["id"] = effect.id;
            answers_[client.send("answer", params)] = effect.id;
        });
        return true;
    case Effect::Kind::look:
        if (!client_) view.notLooked("Quorvik is not running");
        talk([&](ControlClient& client) {
            nlohmann::json params = {{"key", effect.id}};
            if (!effect.path.empty()) params.update({{"path", effect.path}, {"to", effect.to}});
            constexpr const char* methods[] = {"changes", "diff", "clipboard"};
            lastLook_ = client.send(methods[static_cast<std::size_t>(effect.sheet)], params);
            looks_.insert(lastLook_);
        });
        return true;
    case Effect::Kind::useClipboard:
        talk([&](ControlClient& client) { client.send("clipboard", {{"action", effect.id}}); });
        return true;
    case Effect::Kind::acknowledge:
        talk([&](ControlClient& client) { client.send("acknowledge", {{"key", effect.id}}); });
        return true;
    case Effect::Kind::pick:
        talk([&](ControlClient& client) { client.send("pick", {{"key", effect.id}}); });
        return true;
    case Effect::Kind::unpick:
        talk([&](ControlClient& client) { client.send("pick", {{"key", nullptr}}); });
        return true;
    case Effect::Kind::refresh:
        findAgents();
        if (client_)
            talk([&](ControlClient& client) { client.send("sync"); });
        else
            connect(ControlClient::Start::ifMissing);
        return true;
    default: return false;
    }
}

} // namespace quorvik
