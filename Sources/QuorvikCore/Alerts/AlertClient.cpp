#include "QuorvikCore/Alerts/AlertClient.h"

#include "QuorvikCore/Platform/LineSocket.h"

#include <algorithm>

namespace quorvik {

using Kind = AlertOutcome::Kind;

std::int32_t AlertOutcome::exitCode() const {
    switch (kind) {
    case Kind::rejected: return 3;
    case Kind::failed: return 4;
    case Kind::shown: return 0;
    case Kind::notRunning: return 1;
    case Kind::disabled: return 2;
    }
    return 4;
}

std::string AlertOutcome::message() const {
    switch (kind) {
    case Kind::rejected: return "refused: " + text;
    case Kind::failed: return text;
    case Kind::shown: return "";
    case Kind::notRunning: return "Quorvik is not running";
    case Kind::disabled: return "External alerts are switched off in Quorvik's settings";
    }
    return text;
}

AlertReply AlertReply::fromJSON(const nlohmann::json& value) {
    const RecordReader reader(value);
    AlertReply reply;
    reader.required("status", reply.status);
    reader.optional("message", reply.message);
    return reply;
}

AlertOutcome AlertReply::outcome() const {
    if (status == "ok") return {Kind::shown, ""};
    if (status == "disabled") return {Kind::disabled, ""};
    if (status == "rejected") return {Kind::rejected, message.value_or("")};
    return {Kind::failed, message.value_or("unexpected reply")};
}

namespace AlertClient {

namespace {

/// The longest wait for an app that listens but is too busy to take a connection.
constexpr std::chrono::duration<double> connectLimit(1);

constexpr LineSocket::ReadLimits replyLimits{
    .lineBytes = 4096, .chunkBytes = 1024, .silence = std::chrono::milliseconds(5000)};

AlertOutcome outcomeOf(LineSocket::ConnectFailure failure) {
    switch (failure) {
    case LineSocket::ConnectFailure::noSocket: return {Kind::failed, "could not open a socket"};
    case LineSocket::ConnectFailure::pathTooLong: return {Kind::failed, "socket path too long"};
    case LineSocket::ConnectFailure::notListening: break;
    }
    return {Kind::notRunning, ""};
}

AlertOutcome outcomeOf(LineSocket::ReadFailure failure) {
    switch (failure) {
    case LineSocket::ReadFailure::timedOut: return {Kind::failed, "Quorvik did not answer"};
    case LineSocket::ReadFailure::tooLong: return {Kind::failed, "unexpected answer"};
    case LineSocket::ReadFailure::failed: return {Kind::failed, "could not read the answer"};
    case LineSocket::ReadFailure::closed:
    case LineSocket::ReadFailure::unwanted: break;
    }
    return {Kind::notRunning, ""};
}

AlertOutcome outcomeOf(const std::string& line) {
    try {
        if (const auto value = parseJSON(line)) return AlertReply::fromJSON(*value).outcome();
    } catch (const RecordError&) {
        // said below
    }
    return {Kind::failed, "unexpected answer"};
}

} // namespace

AlertOutcome send(const AlertRequest& request, const std::string& socketPath,
                  std::chrono::duration<double> timeout) {
    const std::string line = printJSON(request.toJSON());
    if (line.size() >= AlertWire::maxLine) return {Kind::rejected, "too large"};
    auto connected = LineSocket::connect(socketPath, std::min(timeout, connectLimit));
    if (const auto* failure = std::get_if<LineSocket::ConnectFailure>(&connected)) return outcomeOf(*failure);
    LineSocket& socket = std::get<LineSocket>(connected);
    if (!socket.sendLine(line)) return {Kind::notRunning, ""};
    const auto answer = socket.receiveLine(timeout, replyLimits);
    if (const auto* failure = std::get_if<LineSocket::ReadFailure>(&answer)) return outcomeOf(*failure);
    return outcomeOf(std::get<std::string>(answer));
}

} // namespace AlertClient

} // namespace quorvik
