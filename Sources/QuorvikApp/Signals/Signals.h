#pragma once

#include "QuorvikApp/Signals/Signal.h"

namespace quorvik {

/// All signals of the app.
class Signals {
  public:
    explicit Signals(const SignalContext& context);

    /// To be called when settings, sessions or front ends have changed.
    void update();

    /// In the order in which they are listed.
    std::vector<SignalStatus> statuses() const;

  private:
    std::vector<std::unique_ptr<Signal>> signals_;
};

} // namespace quorvik
