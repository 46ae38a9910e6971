#include "QuorvikCore/Clipboard/SecretName.h"

#include "QuorvikCore/Clipboard/BareCredential.h"
#include "QuorvikCore/Clipboard/SecretScanner.h"
#include "QuorvikCore/Text/Regex.h"
#include "QuorvikCore/Text/Unicode.h"

#include <array>

namespace quorvik::SecretName {

namespace {

/// For each of SecretScanner's patterns.
constexpr std::array<std::string_view, SecretScanner::secretPatterns.size()> names = {
    "a private key",    "an API key",       "a Stripe key",     "a webhook secret",
    "a GitHub token",   "a GitHub token",   "a GitLab token",   "a Slack token",
    "an AWS key",       "a Google key",     "an npm token",     "a Hugging Face token",
    "a SendGrid key",   "a Shopify token",  "a JSON web token", "a bearer token",
    "a password in a web address", "a password or key"};

constexpr std::size_t longest = 8192; ///< bytes: the engine's time may grow with the square of a text

} // namespace

std::string_view of(std::string_view text) {
    if (text.size() > longest) return "a secret";
    for (std::size_t index = 0; index < names.size(); ++index) {
        const auto pattern = Regex::compile(SecretScanner::secretPatterns[index]);
        const auto without = pattern ? pattern->replaceAll(text, "") : std::nullopt;
        if (without && without->size() != text.size()) return names[index];
    }
    const std::string_view whole = Unicode::trimmed(text, Unicode::isWhitespaceOrNewline);
    if (BareCredential::isCardNumber(whole)) return "a card number";
    if (BareCredential::isLongToken(whole)) return "an access token";
    return "a secret";
}

} // namespace quorvik::SecretName
