#include "QuorvikCore/Usage/UsageWindow.h"

namespace quorvik {

UsageWindow::Kind UsageWindow::kind() const {
    constexpr std::int64_t day = 24 * 60;
    if (minutes == 5 * 60) return {Kind::Name::fiveHours};
    if (minutes == day) return {Kind::Name::day};
    if (minutes == 7 * day) return {Kind::Name::week};
    if (minutes >= 28 * day && minutes <= 31 * day) return {Kind::Name::month};
    return {Kind::Name::other, minutes};
}

double UsageWindow::percent(Date now) const {
    return resetsAt <= now ? 0 : usedPercent;
}

UsageWindow UsageWindow::fromJSON(const nlohmann::json& value) {
    const RecordReader reader(value);
    UsageWindow window;
    reader.required("id", window.id);
    reader.required("agent", window.agent);
    reader.required("minutes", window.minutes);
    reader.required("usedPercent", window.usedPercent);
    reader.required("resetsAt", window.resetsAt);
    return window;
}

nlohmann::json UsageWindow::toJSON() const {
    return {{"id", id},
            {"agent", rawValue(agent)},
            {"minutes", minutes},
            {"usedPercent", usedPercent},
            {"resetsAt", secondsSince1970(resetsAt)}};
}

} // namespace quorvik
