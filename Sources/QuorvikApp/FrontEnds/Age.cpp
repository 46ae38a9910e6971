#include "QuorvikApp/FrontEnds/Age.h"

#include <algorithm>
#include <cmath>

namespace quorvik {

namespace {

using Seconds = std::chrono::duration<double>;

struct Unit {
    double length; // seconds
    std::string_view name;
};

/// The largest unit that this many seconds fill at least once.
const Unit& unitOf(double seconds) {
    static constexpr Unit units[] = {{86400, " d"}, {3600, " h"}, {60, " min"}, {1, " s"}};
    return *std::ranges::find_if(
        units, [&](const Unit& unit) { return seconds >= unit.length || unit.length == 1; });
}

} // namespace

std::string age(Date since, Date now) {
    const double seconds = std::max(0.0, (now - since).count());
    const Unit& unit = unitOf(seconds);
    const double count = std::min(std::floor(seconds / unit.length), 99999.0);
    return std::to_string(static_cast<int>(count)) + std::string(unit.name);
}

Date nextAgeChange(Date since, Date now) {
    if (now < since) return since + Seconds(1);
    const double seconds = (now - since).count();
    const Unit& unit = unitOf(seconds);
    const Date next = since + Seconds((std::floor(seconds / unit.length) + 1) * unit.length);
    return std::max(next, now + Seconds(0.001)); // a rounded sum may not have moved on
}

Date nextAgeLook(Date since, Date now, double young) {
    const double step = (now - since).count() < 60 ? young : 5;
    const double next = secondsSince1970(nextAgeChange(since, now));
    return dateFromSeconds(std::ceil(next / step) * step);
}

} // namespace quorvik
