#pragma once

#include "QuorvikApp/FrontEnds/Connector.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace quorvik {

/// Seconds of a clock that is never set.
double steadySeconds();

/// A front end's connection to the app. It may be lost, and is made again when its owner calls reconnect() in
/// time. Nothing here blocks, apart from await() and full sockets. For one thread.
class AppConnection {
  public:
    using Reply = ControlClient::Reply;

    /// Called from the functions below. They may call send().
    struct Handlers {
        std::function<void(std::shared_ptr<const Snapshot>)> show; ///< the newest state
        std::function<void(const std::string& why)> lose; ///< there is no connection, and no reply will come
        std::function<void(const std::string& message)> say; ///< what the app refused, one line
    };

    /// `role` is the front end's in the "hello": "island", "overlay".
    AppConnection(std::string role, Handlers handlers)
        : connector_(std::move(role)), handlers_(std::move(handlers)) {}

    /// Begins to connect; read() hears how that ends.
    void connect(ControlClient::Start start) { connector_.start(start); }

    /// Waits for the end of connect(), at most so long.
    void await(ControlClient::Seconds longest);

    /// Begins to connect again if reconnectAt() has come. Starts no app.
    void reconnect();

    /// When reconnect() wants to be called, by steadySeconds(); absent while connected or about to be.
    std::optional<double> reconnectAt() const {
        return client_ || connector_.isUnderWay() ? std::nullopt : std::optional(retryAt_);
    }

    bool isConnected() const { return client_.has_value(); }

    /// Whether the app refused the last attempt because its place for this role is taken.
    bool isTaken() const { return isTaken_; }

    /// To be polled for reading; -1 while nothing can come. Another one after each call of a function here.
    int descriptor() const { return client_ ? client_->descriptor() : connector_.descriptor(); }

    /// Takes what has come, and calls the handlers.
    void read();

    /// Sends a request, if there is a connection; false when there was none. When sending loses it,
    /// Handlers::lose tells so. `reply` hears the app's answer;
    /// without it, an error goes to Handlers::say.
    bool send(std::string_view method, const nlohmann::json& params = nlohmann::json::object(),
              std::function<void(const Reply&)> reply = {});

  private:
    void lose(const std::string& why);
    template <typename Talk>
    void talk(Talk talk);

    Connector connector_;
    Handlers handlers_;
    std::optional<ControlClient> client_;
    std::map<std::int64_t, std::function<void(const Reply&)>> replies_; ///< by the number awaited
    double retryAt_ = 0;
    bool isTaken_ = false;
};

} // namespace quorvik
