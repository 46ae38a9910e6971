#pragma once

#include "quorvik_island/Terminal/Connector.h"
#include "quorvik_island/Terminal/View.h"

#include <functional>
#include <map>
#include <optional>
#include <set>

namespace quorvik {

/// What the live island needs from other parts of its program.
struct IslandServices {
    View::Look look;
    bool colours = true;
    std::function<std::vector<FoundAgent>()> findAgents;
    std::function<void()> connectAgents; ///< prints on the terminal, which must be given back before
    std::function<bool(const std::string& key)> open; ///< likewise; false: it has printed why not
};

/// A view, and its connection to the app. The connection may be lost and made again.
class FrontEnd {
  public:
    explicit FrontEnd(const IslandServices& services);

    View view;

    /// Begins to connect; read() hears how that ends. When it fails the view says why.
    void connect(ControlClient::Start start);

    /// Waits for the end of connect(), at most so long.
    void awaitConnection(ControlClient::Seconds longest);

    /// Begins to connect again if reconnectAt() has come.
    void reconnect();

    /// When reconnect() wants to be called, by the steady clock; absent while connected or about to be.
    std::optional<double> reconnectAt() const {
        return client_ || connector_.isUnderWay() ? std::nullopt : std::optional(retryAt_);
    }

    /// To be polled for reading; -1 while nothing can come.
    int descriptor() const { return client_ ? client_->descriptor() : connector_.descriptor(); }

    /// Reads what the app has sent, and passes it to the view.
    void read();

    /// Tells the app which request's card is in view, unless it knows already.
    void tellShown(const Frame& frame);
    void tellNothingShown() { tellShown({}); }

    /// Carries out an effect that concerns the app. False for all other effects.
    bool perform(const Effect& effect);

    void findAgents();

  private:
    void lose(const std::string& why);
    template <typename Talk>
    void talk(Talk talk);

    const IslandServices& services_;
    Connector connector_;
    std::optional<ControlClient> client_;
    double retryAt_ = 0;
    std::string shown_;                           ///< the request of which the app was told last
    std::map<std::int64_t, std::string> answers_; ///< number of the awaited reply → the request answered
    std::set<std::int64_t> looks_;                ///< numbers of awaited replies that are for sheets
    std::int64_t lastLook_ = 0;                   ///< the only one of them that is still wanted
};

/// Seconds of a clock that is never set.
double steadySeconds();
Moment momentNow();

} // namespace quorvik
