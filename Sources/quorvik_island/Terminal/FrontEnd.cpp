#include "quorvik_island/Terminal/FrontEnd.h"

namespace quorvik {

Moment momentNow() {
    return {std::chrono::system_clock::now(), steadySeconds()};
}

FrontEnd::FrontEnd(const IslandServices& services)
    : view(services.look), app("island", {.show = [this](auto snapshot) { view.show(std::move(snapshot)); },
                                          .lose =
                                              [this](const std::string& why) {
                                                  shown_.clear();
                                                  view.disconnected(why);
                                              },
                                          .say = [this](const std::string& message) { view.say(message); }}),
      services_(services) {
    findAgents();
}

void FrontEnd::findAgents() {
    if (services_.findAgents) view.found(services_.findAgents());
}

void FrontEnd::connect(ControlClient::Start start) {
    if (start == ControlClient::Start::ifMissing) view.disconnected("connecting");
    app.connect(start);
}

void FrontEnd::tellShown(const Frame& frame) {
    const std::string request = frame.card && !view.isExample() ? frame.card->request : "";
    if (request == shown_) return;
    shown_ = request;
    auto ids = nlohmann::json::array();
    if (!request.empty()) ids.push_back(request);
    app.send("shown", {{"requests", ids}});
}

void FrontEnd::look(const Effect& effect) {
    nlohmann::json params = {{"key", effect.id}};
    if (!effect.path.empty()) params.update({{"path", effect.path}, {"to", effect.to}});
    constexpr const char* methods[] = {"changes", "diff", "clipboard"};
    const auto take = [this, number = ++looks_](const AppConnection::Reply& reply) {
        if (number != looks_) return;
        if (reply.error)
            view.notLooked(reply.error->what());
        else
            view.looked(reply.result);
    };
    if (!app.send(methods[static_cast<std::size_t>(effect.sheet)], params, take))
        view.notLooked("Quorvik is not running");
}

bool FrontEnd::perform(const Effect& effect) {
    switch (effect.kind) {
    case Effect::Kind::answer: {
        nlohmann::json params = effect.response.toJSON();
        params["id"] = effect.id;
        const auto take = [this, id = effect.id](const AppConnection::Reply& reply) {
            if (reply.error) view.refused(id, reply.error->what());
        };
        if (!app.send("answer", params, take)) view.refused(effect.id, "Quorvik is not running");
        return true;
    }
    case Effect::Kind::look: look(effect); return true;
    case Effect::Kind::useClipboard: app.send("clipboard", {{"action", effect.id}}); return true;
    case Effect::Kind::acknowledge: app.send("acknowledge", {{"key", effect.id}}); return true;
    case Effect::Kind::pick: app.send("pick", {{"key", effect.id}}); return true;
    case Effect::Kind::unpick: app.send("pick", {{"key", nullptr}}); return true;
    case Effect::Kind::refresh:
        findAgents();
        if (!app.send("sync")) connect(ControlClient::Start::ifMissing);
        return true;
    default: return false;
    }
}

} // namespace quorvik
