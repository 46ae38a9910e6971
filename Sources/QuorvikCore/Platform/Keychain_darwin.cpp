#include "QuorvikCore/Platform/Keychain.h"
#include "QuorvikCore/Platform/RunProgram.h"

namespace quorvik::Platform {

std::optional<std::string> keychainPassword(const std::string& service) {
    constexpr std::size_t most = 1 << 16; // bytes
    auto password = programOutput({"/usr/bin/security", "find-generic-password", "-s", service, "-w"}, most,
                                  std::chrono::seconds(10));
    if (password && password->ends_with('\n')) password->pop_back();
    return password;
}

} // namespace quorvik::Platform
