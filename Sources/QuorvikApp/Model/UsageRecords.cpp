#include "QuorvikApp/Model/UsageRecords.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <cmath>
#include <ctime>

namespace quorvik {

namespace {

/// "weekly limit", "5-hour limit of mini".
std::string limitName(const UsageWindow& window) {
    using Name = UsageWindow::Kind::Name;
    std::string name = windowName(window);
    std::string of;
    if (const auto comma = name.find(", "); comma != name.npos) {
        of = " of " + name.substr(comma + 2);
        name.resize(comma);
    }
    switch (window.kind().name) {
    case Name::fiveHours: name = "5-hour"; break;
    case Name::day: name = "daily"; break;
    case Name::week: name = "weekly"; break;
    case Name::month: name = "monthly"; break;
    case Name::other: break;
    }
    return name + " limit" + of;
}

std::string summary(const UsageEvent& event, Date now) {
    const std::string limit = limitName(event.window);
    const std::string time = clockTime(event.window.resetsAt, now);
    const auto* const reached = std::get_if<UsageEvent::Reached>(&event.kind);
    if (!reached) return "the " + limit + " has reset";
    if (reached->stage == UsageStage::exhausted) return "the " + limit + " is used up until " + time;
    return std::to_string(static_cast<int>(reached->stage)) + " % of the " + limit + " used, resets " + time;
}

std::shared_ptr<const SessionRecord> record(const UsageEvent& event, Date now) {
    SessionRecord record(Source::git, "usage-" + event.window.id, "", now);
    record.state = SessionState::done;
    record.tool = "Usage";
    record.title = std::string(displayName(event.window.agent));
    record.summary = summary(event, now);
    return std::make_shared<const SessionRecord>(std::move(record));
}

} // namespace

bool UsageRecords::update(std::span<const UsageFigure> figures, Date now) {
    figures_.assign(figures.begin(), figures.end());
    std::vector<UsageWindow> windows;
    for (const UsageFigure& figure : figures_)
        windows.push_back(figure.window);
    const auto events = tracker_.update(windows, now);
    for (const UsageEvent& event : events) {
        auto made = record(event, now);
        std::erase_if(records_, [&](const auto& known) { return known->sessionID == made->sessionID; });
        records_.push_back(std::move(made));
    }
    return !events.empty();
}

bool UsageRecords::forget(Date now, double linger) {
    return std::erase_if(records_,
                         [&](const auto& record) { return (now - record->stateSince).count() > linger; }) > 0;
}

std::optional<Date> UsageRecords::nextChange(Date now) const {
    std::optional<Date> next;
    for (const auto& [window, toldAt] : figures_) {
        const auto stage = tracker_.stages().find(window.id);
        const bool isUsedUp = stage != tracker_.stages().end() && stage->second == UsageStage::exhausted;
        if (isUsedUp && window.resetsAt > now)
            next = next ? std::min(*next, window.resetsAt) : window.resetsAt;
    }
    return next;
}

std::string windowName(const UsageWindow& window) {
    using Name = UsageWindow::Kind::Name;
    std::string name;
    switch (window.kind().name) {
    case Name::fiveHours: name = "5 hours"; break;
    case Name::day: name = "day"; break;
    case Name::week: name = "week"; break;
    case Name::month: name = "month"; break;
    case Name::other: name = std::to_string(window.minutes) + " min"; break;
    }
    const auto first = window.id.find('.'), last = window.id.rfind('.');
    if (first == last) return name;
    return name + ", " + Unicode::terminalLine(window.id.substr(first + 1, last - first - 1));
}

std::string clockTime(Date moment, Date now) {
    const auto local = [](Date date) {
        const auto seconds = static_cast<std::time_t>(std::floor(secondsSince1970(date)));
        std::tm parts{};
        ::localtime_r(&seconds, &parts);
        return parts;
    };
    const std::tm then = local(moment), today = local(now);
    const bool isToday = then.tm_year == today.tm_year && then.tm_yday == today.tm_yday;
    const bool isNear = std::abs((moment - now).count()) < 6 * 86'400;
    char text[32];
    const auto size = std::strftime(text, sizeof text,
                                    isToday  ? "%H:%M"
                                    : isNear ? "%a %H:%M"
                                             : "%e %b %H:%M",
                                    &then);
    const std::string_view made(text, size);
    return std::string(made.substr(made.starts_with(' '))); // a day of one digit
}

} // namespace quorvik
