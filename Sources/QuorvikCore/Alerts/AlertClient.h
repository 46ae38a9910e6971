#pragma once

#include "QuorvikCore/Alerts/AlertRequest.h"

#include <chrono>
#include <optional>
#include <string>

namespace quorvik {

/// What became of an alert.
struct AlertOutcome {
    enum class Kind { rejected, failed, shown, notRunning, disabled };
    Kind kind;
    std::string text; ///< of `rejected`: the reason; of `failed`: what went wrong; else empty

    /// Exit status of the command: 3, 4, 0, 1, 2 in the order of the kinds.
    std::int32_t exitCode() const;

    /// One line for people, empty for `shown`: "refused: <reason>", what went wrong, "Quorvik is not running"
    /// or "External alerts are switched off in Quorvik's settings".
    std::string message() const;

    bool operator==(const AlertOutcome&) const = default;
};

/// The app's answer.
struct AlertReply {
    std::string status; ///< "ok", "disabled" or "rejected"
    std::optional<std::string> message;

    /// Throws RecordError.
    static AlertReply fromJSON(const nlohmann::json& value);

    /// A status that is none of the three is `failed` with the message, or "unexpected reply" without one.
    AlertOutcome outcome() const;
};

/// The alert socket: a Unix domain stream socket on which each connection carries one request and one reply,
/// a line of JSON each (docs/wire.md).
namespace AlertWire {

/// Bytes; a request's line, without its line feed, must be shorter.
inline constexpr std::size_t maxLine = 8192;

} // namespace AlertWire

namespace AlertClient {

/// Sends one alert to the app and waits up to `timeout` for its answer, never longer than 5 seconds in
/// silence. Blocks; never throws. Besides what the app answers: `notRunning` when nobody (or another user's
/// program) listens or the connection breaks, `rejected` "too large" when the request does not fit its line,
/// and `failed` with one of "could not open a socket", "socket path too long", "Quorvik did not answer",
/// "could not read the answer", "unexpected answer".
AlertOutcome send(const AlertRequest& request, const std::string& socketPath,
                  std::chrono::duration<double> timeout);

} // namespace AlertClient

} // namespace quorvik
