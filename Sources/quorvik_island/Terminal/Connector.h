#pragma once

#include "QuorvikApp/Control/ControlClient.h"

#include <memory>
#include <string>
#include <variant>

namespace quorvik {

/// Connects to the app in the background. An app that hangs, or has yet to be started, may take many seconds,
/// in which a front end must go on taking keys.
class Connector {
  public:
    using Seconds = ControlClient::Seconds;

    /// Begins an attempt: connects as an island and subscribes. One that is under way goes on instead, unless
    /// this one may start the app and that one may not.
    void start(ControlClient::Start start);

    bool isUnderWay() const { return attempt_ != nullptr; }

    /// Becomes readable when the attempt has ended; -1 without one.
    int descriptor() const;

    /// Waits until the attempt has ended, at most so long. False when it has not.
    bool wait(Seconds longest) const;

    /// The result of an attempt that has ended, a connection or why there is none. Nothing while it goes on.
    using Result = std::variant<std::monostate, ControlClient, std::string>;
    Result take();

  private:
    struct Attempt;
    /// Shared with the attempt's thread, which nobody waits for: it ends by itself, within the time limits of
    /// ControlClient.
    std::shared_ptr<Attempt> attempt_;
};

} // namespace quorvik
