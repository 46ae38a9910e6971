#include "QuorvikCore/Platform/ListeningSockets.h"

namespace quorvik::Platform {

std::optional<std::string> listeningSockets() {
    return std::nullopt;
}

std::optional<std::string> listenerTable() {
    return std::nullopt;
}

} // namespace quorvik::Platform
