#pragma once

#include "QuorvikCore/Approvals/ApprovalRequest.h"

/// The formats of an approval: its request to the app, and the reply that the agent reads. The app is asked
/// over a Unix domain stream socket on which each connection carries one request and one reply, a line of
/// JSON each (docs/wire.md).
namespace quorvik::ApprovalWire {

/// Bytes; a request's line and a reply's, without their line feeds, must be shorter.
inline constexpr std::size_t maxLine = 65'536;

/// The request as one line of JSON, without its line feed. An `input` that is too long for the line is cut at
/// the end of a character, or left out, and marked by `inputTruncated`. Absent when the line would be too
/// long even without `input`.
std::optional<std::string> requestLine(const ApprovalRequest& request);

/// What the hook prints for its agent: one JSON object without white space, keys sorted, in the form that the
/// agent expects. The agent's own question list and suggested rules go back as they were written. Absent when
/// the hook must print nothing, so that the agent asks in its own interface: the user chose that (`ask`), the
/// answers do not fit the questions, or the agent has no form for such a reply.
///
/// A denial without a message gives the reason "Denied from the Quorvik notch".
std::optional<std::string> hookOutput(const ApprovalRequest& request, const ApprovalResponse& response);

} // namespace quorvik::ApprovalWire
