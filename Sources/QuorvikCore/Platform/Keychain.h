#pragma once

#include <optional>
#include <string>

namespace quorvik::Platform {

/// The password that the user's keychain keeps for a service, without a line feed at its end. The system may
/// ask the user first, and is given 10 seconds. Absent when there is none, when it is refused, and where the
/// system has no keychain.
std::optional<std::string> keychainPassword(const std::string& service);

} // namespace quorvik::Platform
