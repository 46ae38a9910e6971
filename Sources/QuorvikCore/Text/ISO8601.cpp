#include "QuorvikCore/Text/ISO8601.h"

#include <algorithm>

namespace quorvik::ISO8601 {

namespace {

/// Takes the parts of a text off its front; once one was not there, `failed` stays true.
struct Parts {
    std::string_view rest;
    bool failed = false;

    bool take(char wanted) {
        if (!rest.starts_with(wanted)) return false;
        rest.remove_prefix(1);
        return true;
    }
    void skip(char wanted) { failed = !take(wanted) || failed; }

    /// Exactly so many digits.
    int number(std::size_t digits) {
        int value = 0;
        for (std::size_t index = 0; index < digits; ++index) {
            const char digit = rest.empty() ? '\0' : rest.front();
            if (digit < '0' || digit > '9') {
                failed = true;
                return 0;
            }
            value = value * 10 + (digit - '0');
            rest.remove_prefix(1);
        }
        return value;
    }

    /// What local time is ahead of UTC.
    std::chrono::minutes offset() {
        if (take('Z')) return {};
        const bool behind = take('-');
        if (!behind) skip('+');
        const int hours = number(2);
        const int minutes = take(':') || !rest.empty() ? number(2) : 0;
        failed = failed || hours > 23 || minutes > 59;
        return std::chrono::minutes((hours * 60 + minutes) * (behind ? -1 : 1));
    }
};

} // namespace

std::optional<std::chrono::sys_seconds> parse(std::string_view text) {
    using namespace std::chrono;
    Parts parts{text};
    const year y(parts.number(4));
    parts.skip('-');
    const month m(static_cast<unsigned>(parts.number(2)));
    parts.skip('-');
    const day d(static_cast<unsigned>(parts.number(2)));
    parts.skip('T');
    const int hour = parts.number(2);
    parts.skip(':');
    const int minute = parts.number(2);
    parts.skip(':');
    const int second = parts.number(2);
    const minutes offset = parts.offset();
    const year_month_day date(y, m, d);
    if (parts.failed || !parts.rest.empty() || !date.ok() || hour > 23 || minute > 59 || second > 59)
        return std::nullopt;
    return sys_days(date) + hours(hour) + minutes(minute) + seconds(second) - offset;
}

std::optional<std::chrono::sys_seconds> parseWithoutFraction(std::string_view text) {
    constexpr std::size_t point = std::string_view("2011-01-26T19:01:12").size();
    if (text.size() <= point || text[point] != '.') return parse(text);
    const auto end = std::min(text.find_first_not_of("0123456789", point + 1), text.size());
    if (end == point + 1) return std::nullopt;
    return parse(std::string(text.substr(0, point)).append(text.substr(end)));
}

std::string text(std::chrono::sys_time<std::chrono::duration<double>> moment) {
    using namespace std::chrono;
    const auto seconds = floor<std::chrono::seconds>(moment);
    const auto midnight = floor<days>(seconds);
    const year_month_day date(midnight);
    const hh_mm_ss time(seconds - midnight);
    char written[64];
    const int length =
        std::snprintf(written, sizeof written, "%04d-%02u-%02uT%02d:%02d:%02dZ",
                      static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                      static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                      static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
    return {written, static_cast<std::size_t>(length)};
}

} // namespace quorvik::ISO8601
