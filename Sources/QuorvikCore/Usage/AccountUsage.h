#pragma once

#include "QuorvikCore/Usage/UsageFigure.h"

#include <filesystem>

/// The limits of an account as its service tells them when it is asked over the network: which request to
/// make, and what the answer means. Only for users who have named the service's host and switched it on.
/// Requests hold the account's token: they are never printed, logged or written anywhere.
namespace quorvik::AccountUsage {

/// The agents whose accounts can be asked about: claude and grok.
bool knows(Source agent);

/// What stands before the path in the service's URLs. A host is a name, with a port if need be
/// ("api.example.org", "api.example.org:8443"), and is asked over https; "http://127.0.0.1:<port>" and
/// "http://localhost:<port>", which stay on this machine, are taken as they are. Absent for anything else.
std::optional<std::string> address(std::string_view host);

/// A GET request.
struct Request {
    std::string url;
    std::vector<std::string> headers; ///< "Name: value"; one of them holds the token
};

/// Absent when the agent is not known, the host is none, or the token is empty, longer than 8 KiB or has
/// characters that no header may have.
std::optional<Request> request(Source agent, std::string_view host, std::string_view token);

/// The windows in an answer. Claude's are those of ClaudeUsage (there `utilization`, and `resets_at` as an
/// internet date-time); Grok's is "grok.billing", the billing period, from `creditUsagePercent`,
/// `billingPeriodStart` and `billingPeriodEnd` (date-times, or seconds since 1970). What is missing, of a
/// wrong type or cannot be true is left out.
std::vector<UsageWindow> parse(Source agent, std::string_view answer);

/// The token in Claude Code's credentials (`claudeAiOauth.accessToken`). Absent when there is none, and from
/// a minute before it expires (`expiresAt`, milliseconds since 1970): getting a new one is the agent's work.
std::optional<std::string> claudeToken(std::string_view credentials, Date now);

/// Claude Code's credentials, JSON: from ".claude/.credentials.json" in the home folder, else, on macOS, from
/// the user's keychain, which may ask the user. Absent when there are none.
std::optional<std::string> claudeCredentials();

/// Where the last answer's figures are kept: "usage/account-claude.json" in the support folder.
std::filesystem::path file(Source agent);

/// Keeps an answer's figures there, in one step. Throws FileError.
void keep(Source agent, const std::vector<UsageWindow>& windows, Date now);

} // namespace quorvik::AccountUsage
