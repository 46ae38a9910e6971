#pragma once

#include <array>
#include <string_view>

/// Tells whether a text contains a credential.
///
/// A missed secret is the one mistake that cannot be made good, and texts of a megabyte are looked at while
/// the user waits. A backtracking engine, given the patterns below, takes time that grows with the square of
/// some texts ("token." over and over) or gives up on them; so they are matched by hand, in one pass whose
/// time grows with the length of the text and nothing else. Tests and a fuzzer compare the answers with the
/// engine's.
namespace quorvik::SecretScanner {

/// What is looked for, as PCRE2 reads it (PCRE2_UTF, PCRE2_UCP): private key blocks; keys of OpenAI's style
/// and Stripe's; webhook secrets; tokens of GitHub, GitLab, Slack, AWS, Google, npm, Hugging Face, SendGrid
/// and Shopify; JSON web tokens; bearer headers; passwords in URLs; keys, secrets and passwords with a value.
inline constexpr std::array<std::string_view, 18> secretPatterns = {
    R"re(-----BEGIN [A-Z0-9 ]*PRIVATE KEY( BLOCK)?-----)re",
    R"re(\bsk-[A-Za-z0-9_-]{16,})re",
    R"re(\b[spr]k_(live|test)_[A-Za-z0-9]{16,})re",
    R"re(\bwhsec_[A-Za-z0-9]{16,})re",
    R"re(\bgh[pousr]_[A-Za-z0-9]{30,})re",
    R"re(\bgithub_pat_[A-Za-z0-9_]{30,})re",
    R"re(\bglpat-[A-Za-z0-9_-]{20,})re",
    R"re(\bxox[abprs]-[A-Za-z0-9-]{10,})re",
    R"re(\b(AKIA|ASIA)[0-9A-Z]{16}\b)re",
    R"re(\bAIza[0-9A-Za-z_-]{35}\b)re",
    R"re(\bnpm_[A-Za-z0-9]{36}\b)re",
    R"re(\bhf_[A-Za-z0-9]{30,})re",
    R"re(\bSG\.[A-Za-z0-9_-]{16,}\.[A-Za-z0-9_-]{16,})re",
    R"re(\bshp(at|ss|ca|pa)_[a-f0-9]{32})re",
    R"re(\beyJ[A-Za-z0-9_-]{8,}\.[A-Za-z0-9_-]{8,}\.[A-Za-z0-9_-]{8,})re",
    R"re((?i)\bbearer\s+[A-Za-z0-9._~+/=-]{20,})re",
    R"re(://[^/\s:@]+:[^/\s@]{3,}@)re",
    R"re((?i)\b[A-Za-z0-9_.-]*(api[_-]?key|secret|token|passwd|password|pwd|auth[_-]?key|private[_-]?key|access[_-]?key)[A-Za-z0-9_.-]*["']?\s*[:=]\s*["']?[^\s"',;]{8,})re"};

/// Whether one of the patterns has a match anywhere. `text` is valid UTF-8.
bool containsSecret(std::string_view text);

} // namespace quorvik::SecretScanner
