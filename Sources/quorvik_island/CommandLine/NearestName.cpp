#include "quorvik_island/CommandLine/NearestName.h"

#include <algorithm>
#include <vector>

namespace quorvik::NearestName {

namespace {

constexpr std::size_t longestName = 40; // bytes; what is longer is nobody's slip

char lower(char character) {
    return 'A' <= character && character <= 'Z' ? static_cast<char>(character + ('a' - 'A')) : character;
}

/// How many mistakes lie between the two (optimal string alignment).
std::size_t mistakes(std::string_view first, std::string_view second) {
    std::vector<std::size_t> beforeLast, last(second.size() + 1), row(second.size() + 1);
    for (std::size_t j = 0; j <= second.size(); ++j)
        last[j] = j;
    for (std::size_t i = 1; i <= first.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= second.size(); ++j) {
            const bool isSame = lower(first[i - 1]) == lower(second[j - 1]);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (isSame ? 0 : 1)});
            const bool isSwapped = i > 1 && j > 1 && lower(first[i - 1]) == lower(second[j - 2]) &&
                                   lower(first[i - 2]) == lower(second[j - 1]);
            if (isSwapped) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
        beforeLast = last;
        last = row;
    }
    return last[second.size()];
}

} // namespace

std::string_view of(std::string_view typed, std::span<const std::string_view> names) {
    if (typed.size() > longestName) return {};
    std::string_view nearest;
    std::size_t fewest = std::max<std::size_t>(1, typed.size() / 3) + 1;
    for (const std::string_view name : names) {
        const std::size_t count = mistakes(typed, name);
        if (count >= fewest || count >= name.size()) continue; // nothing of the name itself may be left
        fewest = count;
        nearest = name;
    }
    return nearest;
}

std::string question(std::string_view typed, std::span<const std::string_view> names) {
    const std::string_view nearest = of(typed, names);
    return nearest.empty() ? "" : ", did you mean " + std::string(nearest) + "?";
}

} // namespace quorvik::NearestName
