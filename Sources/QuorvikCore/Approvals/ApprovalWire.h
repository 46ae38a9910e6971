#pragma once

#include "QuorvikCore/Approvals/ApprovalRequest.h"

/// An approval's two ends: lines of JSON to and from the app over a Unix domain stream socket (one request,
/// one reply, one connection; docs/wire.md), and the reply that the agent reads.
namespace quorvik::ApprovalWire {

/// Bytes; a request's line and a reply's, without their line feeds, must be shorter.
inline constexpr std::size_t maxLine = 65'536;

/// The line, without its line feed, that asks for this: its JSON text, in which an `input` that is too long
/// for the line is cut at the end of a character, or left out, and marked by `inputTruncated`. Absent when
/// even so it would be too long.
std::optional<std::string> requestLine(const ApprovalRequest& request);

/// What the hook prints for its agent: one JSON object without white space, keys sorted, each agent family's
/// own shape. What came from the agent (its question list, its suggested rules) goes back value for value, as
/// it was written. Absent when the hook must print nothing, so that the agent asks in its own interface:
/// the user chose that (`ask`), the answers do not fit the questions, or the agent knows no such reply.
///
/// A denial without a message gives the reason "Denied from the Quorvik notch".
std::optional<std::string> hookOutput(const ApprovalRequest& request, const ApprovalResponse& response);

} // namespace quorvik::ApprovalWire
