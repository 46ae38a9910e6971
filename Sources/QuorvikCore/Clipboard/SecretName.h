#pragma once

#include <string_view>

/// What kind of credential a text holds, for people who shall know what was found without seeing it.
namespace quorvik::SecretName {

/// "a GitHub token", "a password in a web address", "a card number"; "a secret" when no kind can be told, and
/// for a text of more than 8192 bytes. `text` is valid UTF-8 and holds a secret (ClipboardClassifier).
std::string_view of(std::string_view text);

} // namespace quorvik::SecretName
