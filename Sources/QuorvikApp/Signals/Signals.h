#pragma once

#include "QuorvikApp/Signals/ClipboardSignal.h"
#include "QuorvikApp/Signals/GitSignal.h"

namespace quorvik {

/// All signals of the app.
class Signals {
  public:
    explicit Signals(const SignalContext& context);

    /// To be called when settings, sessions or front ends have changed.
    void update();

    /// In the order in which they are listed.
    std::vector<SignalStatus> statuses() const;

    GitSignal& git() { return *git_; }
    ClipboardSignal& clipboard() { return *clipboard_; }

  private:
    std::vector<std::unique_ptr<Signal>> signals_;
    GitSignal* git_; ///< one of them, like the next
    ClipboardSignal* clipboard_;
};

} // namespace quorvik
