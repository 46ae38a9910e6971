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

    /// `role` is the front end's in the "hello": "island", "overlay".
    explicit Connector(std::string role) : role_(std::move(role)) {}

    /// Begins an attempt: connects and subscribes. One that is under way goes on instead, unless this one may
    /// start the app and that one may not.
    void start(ControlClient::Start start);

    bool isUnderWay() const { return attempt_ != nullptr; }

    /// Becomes readable when the attempt has ended; -1 without one.
    int descriptor() const;

    /// Waits until the attempt has ended, at most so long. False when it has not.
    bool wait(Seconds longest) const;

    struct Failure {
        std::string why;
        bool isTaken = false; ///< RoleTaken: the app has a front end of this role already
    };

    /// The result of an attempt that has ended. Nothing while it goes on.
    using Result = std::variant<std::monostate, ControlClient, Failure>;
    Result take();

  private:
    struct Attempt;
    std::string role_;
    /// Shared with the attempt's thread, which nobody waits for: it ends by itself, within the time limits of
    /// ControlClient.
    std::shared_ptr<Attempt> attempt_;
};

} // namespace quorvik
