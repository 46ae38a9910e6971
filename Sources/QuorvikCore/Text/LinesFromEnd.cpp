#include "QuorvikCore/Text/LinesFromEnd.h"

#include <algorithm>

namespace quorvik {

std::uint64_t LinesFromEnd::go(std::uint64_t begin, std::uint64_t end, const Take& take) {
    std::uint64_t unfinished = begin;
    bool hasEnded = false; // whether the line feed of a line was seen whose start is still to come
    bool isTooLong = false;
    std::string rest; // what is known of that line
    const auto give = [&](std::string_view start) {
        if (isTooLong || start.size() + rest.size() > longest_) return false;
        if (rest.empty()) return take(start);
        rest.insert(0, start);
        return take(rest);
    };
    for (std::uint64_t position = end; position > begin;) {
        const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(block_, position - begin));
        position -= size;
        const std::string bytes = read_(position, size);
        if (bytes.size() != size) return unfinished;
        std::string_view left = bytes;
        for (auto feed = left.rfind('\n'); feed != left.npos; feed = left.rfind('\n')) {
            if (!hasEnded)
                unfinished = position + feed + 1;
            else if (give(left.substr(feed + 1)))
                return unfinished;
            hasEnded = true;
            isTooLong = false;
            rest.clear();
            left.remove_suffix(left.size() - feed);
        }
        isTooLong = isTooLong || rest.size() + left.size() > longest_;
        if (!hasEnded || isTooLong)
            rest.clear();
        else
            rest.insert(0, left);
    }
    if (hasEnded) give("");
    return unfinished;
}

} // namespace quorvik
