#pragma once

#include "quorvik_island/Terminal/View.h"

#include "QuorvikApp/Control/ControlClient.h"

#include <functional>
#include <map>
#include <optional>

namespace quorvik {

/// What the live island needs of the rest of its program.
struct IslandServices {
    View::Look look;
    bool colours = true;
    std::function<std::vector<FoundAgent>()> findAgents;
    std::function<void()> connectAgents;              ///< prints what it does, on a terminal as it was found
    std::function<bool(const std::string& key)> open; ///< the same; false: it has said why not
};

/// A view and its connection to the app, which comes and goes.
class FrontEnd {
  public:
    explicit FrontEnd(const IslandServices& services);

    View view;

    /// Connects; when that fails the view says why.
    void connect(ControlClient::Start start);

    /// Connects again when it is time to.
    void reconnect();

    /// When reconnect() wants to be called, by the steady clock; absent while connected.
    std::optional<double> reconnectAt() const { return client_ ? std::nullopt : std::optional(retryAt_); }

    /// To be polled; -1 while there is no connection.
    int descriptor() const { return client_ ? client_->descriptor() : -1; }

    /// Takes over what the app has said.
    void read();

    /// Tells the app which card is in front of the user, unless it knows already.
    void tellShown(const Frame& frame);
    void tellNothingShown() { tellShown({}); }

    /// Does what an effect wants of the app. False for those that are not the app's.
    bool perform(const Effect& effect);

    void findAgents();

  private:
    void lose(const std::string& why);
    template <typename Talk>
    void talk(Talk talk);

    const IslandServices& services_;
    std::optional<ControlClient> client_;
    double retryAt_ = 0;
    std::string shown_;                           ///< the request that the app knows to be in view
    std::map<std::int64_t, std::string> answers_; ///< by the reply's id: the request
};

/// Seconds of a clock that is never set.
double steadySeconds();
Moment momentNow();

} // namespace quorvik
