#include "QuorvikApp/Control/Version.h"

#include "QuorvikCore/Platform/Environment.h"

#include <algorithm>
#include <charconv>
#include <vector>

namespace quorvik::Version {

namespace {

std::vector<long> numbers(std::string_view version) {
    std::vector<long> found;
    const char* cursor = version.data();
    const char* const end = cursor + version.size();
    for (;;) {
        long number = 0;
        const auto [next, error] = std::from_chars(cursor, end, number);
        if (error != std::errc()) return found;
        found.push_back(number);
        if (next == end || *next != '.') return found;
        cursor = next + 1;
    }
}

} // namespace

std::string program() {
    const auto path = Platform::runningProgram();
    return path.empty() ? "quorvik-island" : path.string();
}

bool isOlder(std::string_view first, std::string_view second) {
    return std::ranges::lexicographical_compare(numbers(first), numbers(second));
}

} // namespace quorvik::Version
