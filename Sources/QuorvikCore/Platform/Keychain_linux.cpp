#include "QuorvikCore/Platform/Keychain.h"

namespace quorvik::Platform {

std::optional<std::string> keychainPassword(const std::string&) {
    return std::nullopt;
}

} // namespace quorvik::Platform
