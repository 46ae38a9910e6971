#include "QuorvikCore/Approvals/ApprovalClient.h"

#include "QuorvikCore/Approvals/ApprovalWire.h"
#include "QuorvikCore/Platform/LineSocket.h"

namespace quorvik::ApprovalClient {

namespace {

/// The longest wait for an app that listens but is too busy to take a connection or a request.
constexpr std::chrono::seconds connectLimit(5);

constexpr LineSocket::ReadLimits replyLimits{.lineBytes = ApprovalWire::maxLine, .chunkBytes = 4096};

} // namespace

std::optional<ApprovalResponse> ask(const ApprovalRequest& request, std::chrono::duration<double> timeout,
                                    const std::string& socketPath, const std::function<bool()>& stillWanted) {
    const auto line = ApprovalWire::requestLine(request);
    if (!line) return std::nullopt;
    auto connected = LineSocket::connect(socketPath, connectLimit);
    LineSocket* socket = std::get_if<LineSocket>(&connected);
    if (!socket || !socket->sendLine(*line)) return std::nullopt;
    const auto answer = socket->receiveLine(timeout, replyLimits, stillWanted);
    const std::string* reply = std::get_if<std::string>(&answer);
    const auto value = reply ? parseJSON(*reply) : std::nullopt;
    if (!value) return std::nullopt;
    try {
        return ApprovalResponse::fromJSON(*value);
    } catch (const RecordError&) {
        return std::nullopt;
    }
}

} // namespace quorvik::ApprovalClient
