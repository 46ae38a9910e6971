#pragma once

#include "quorvik_island/Terminal/View.h"

#include "QuorvikApp/FrontEnds/AppConnection.h"

#include <functional>

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

    AppConnection app;

    /// Begins to connect; AppConnection::read() hears how that ends. When it fails the view says why.
    void connect(ControlClient::Start start);

    /// Tells the app which request's card is in view, unless it knows already.
    void tellShown(const Frame& frame);
    void tellNothingShown() { tellShown({}); }

    /// Carries out an effect that concerns the app. False for all other effects.
    bool perform(const Effect& effect);

    void findAgents();

  private:
    void look(const Effect& effect);

    const IslandServices& services_;
    std::string shown_;     ///< the request of which the app was told last
    std::size_t looks_ = 0; ///< how many sheets the app was asked for; only the last one's answer is wanted
};

Moment momentNow();

} // namespace quorvik
