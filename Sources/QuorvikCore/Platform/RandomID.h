#pragma once

#include <string>

namespace quorvik::Platform {

/// A fresh random UUID (version 4) in lower case: "3f2504e0-4f89-41d3-9a0c-0305e82c3301".
std::string newUUID();

} // namespace quorvik::Platform
