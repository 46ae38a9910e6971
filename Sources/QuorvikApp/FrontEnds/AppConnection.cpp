#include "QuorvikApp/FrontEnds/AppConnection.h"

namespace quorvik {

double steadySeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void AppConnection::lose(const std::string& why) {
    constexpr double pause = 2; // seconds; an idle front end wakes up less than once a second
    client_.reset();
    replies_.clear();
    retryAt_ = steadySeconds() + pause;
    handlers_.lose(why);
}

/// Calls `talk` with the connection, if there is one. A lost connection is closed.
template <typename Talk>
void AppConnection::talk(Talk talk) {
    if (!client_) return;
    try {
        talk(*client_);
    } catch (const ControlError& error) {
        handlers_.say(error.what());
    } catch (const NoApp& error) {
        lose(error.what());
    } catch (const RecordError& error) {
        handlers_.say("the app said what nobody understands: " + std::string(error.what()));
    }
}

void AppConnection::await(ControlClient::Seconds longest) {
    if (connector_.wait(longest)) read();
}

void AppConnection::reconnect() {
    if (reconnectAt() && steadySeconds() >= retryAt_) connect(ControlClient::Start::never);
}

void AppConnection::read() {
    auto result = connector_.take();
    if (auto* client = std::get_if<ControlClient>(&result)) {
        isTaken_ = false;
        client_.emplace(std::move(*client));
    }
    if (const auto* failure = std::get_if<Connector::Failure>(&result)) {
        isTaken_ = failure->isTaken;
        lose(failure->why);
    }
    talk([&](ControlClient& client) {
        while (const auto message = client.read()) {
            if (const auto* snapshot = std::get_if<std::shared_ptr<const Snapshot>>(&*message)) {
                handlers_.show(*snapshot);
            } else {
                const auto& reply = std::get<ControlClient::Reply>(*message);
                const auto awaited = replies_.extract(reply.id);
                if (!awaited.empty() && awaited.mapped())
                    awaited.mapped()(reply);
                else if (reply.error)
                    handlers_.say(reply.error->what());
            }
            if (!client_) return; // a handler's send() has lost it
        }
    });
}

bool AppConnection::send(std::string_view method, const nlohmann::json& params,
                         std::function<void(const Reply&)> reply) {
    if (!client_) return false;
    talk([&](ControlClient& client) {
        const std::int64_t id = client.send(method, params);
        if (reply) replies_[id] = std::move(reply);
    });
    return true;
}

} // namespace quorvik
