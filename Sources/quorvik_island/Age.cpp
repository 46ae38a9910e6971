#include "quorvik_island/Age.h"

#include <algorithm>
#include <cmath>

namespace quorvik {

std::string age(Date since, Date now) {
    const double seconds = std::max(0.0, (now - since).count());
    struct Unit {
        double length; // seconds
        std::string_view name;
    };
    constexpr Unit units[] = {{86400, " d"}, {3600, " h"}, {60, " min"}, {1, " s"}};
    for (const auto& [length, name] : units) {
        if (seconds >= length || length == 1) {
            const double count = std::min(std::floor(seconds / length), 99999.0);
            return std::to_string(static_cast<int>(count)) + std::string(name);
        }
    }
    return {};
}

} // namespace quorvik
