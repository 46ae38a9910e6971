#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quorvik::testing {

/// What stands between the bars.
inline std::vector<std::string> split(std::string_view text, char bar = '|') {
    std::vector<std::string> pieces;
    for (std::size_t end = 0; end != text.npos; text.remove_prefix(end == text.npos ? 0 : end + 1)) {
        end = text.find(bar);
        pieces.emplace_back(text.substr(0, end));
    }
    return pieces;
}

/// So many copies of a text, one after the other.
inline std::string repeated(std::string_view text, std::size_t count) {
    std::string all;
    while (count-- > 0)
        all += text;
    return all;
}

} // namespace quorvik::testing
