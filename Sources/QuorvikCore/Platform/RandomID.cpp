#include "QuorvikCore/Platform/RandomID.h"

#include <cstdio>
#include <random>

namespace quorvik::Platform {

std::string newUUID() {
    std::random_device random;
    const unsigned a = random(), b = random(), c = random(), d = random();
    char text[37];
    std::snprintf(text, sizeof text, "%08x-%04x-4%03x-%04x-%04x%08x", a, b >> 16, b & 0xfff,
                  0x8000 | (c >> 18), c & 0xffff, d);
    return text;
}

} // namespace quorvik::Platform
