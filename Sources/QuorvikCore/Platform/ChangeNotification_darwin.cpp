#include "QuorvikCore/Platform/ChangeNotification.h"

#include <cstdint>

// <notify.h>, declared here because cross-compiling toolchains do not carry that header.
extern "C" std::uint32_t notify_post(const char* name);

namespace quorvik::Platform {

void postChange(const char* name, const std::filesystem::path&) {
    ::notify_post(name);
}

} // namespace quorvik::Platform
