#include "QuorvikCore/Usage/UsageTracker.h"

#include <gtest/gtest.h>

namespace quorvik {

namespace {

const Date now = dateFromSeconds(1'763'700'000);
constexpr auto hour = std::chrono::hours(1);

UsageWindow window(double percent, std::string id = "claude.five_hour", Date resetsAt = now + hour) {
    return {std::move(id), Source::claude, 300, percent, resetsAt};
}

/// "95", "reset"; several with blanks between.
std::string told(const std::vector<UsageEvent>& events) {
    std::string text;
    for (const UsageEvent& event : events) {
        const auto* reached = std::get_if<UsageEvent::Reached>(&event.kind);
        text += (text.empty() ? "" : " ") +
                (reached ? std::to_string(static_cast<int>(reached->stage)) : "reset");
    }
    return text;
}

} // namespace

TEST(Usage, TellsEachStageOnceOnTheWayUpAndTheEndOfAnExhaustion) {
    using Readings = std::vector<std::pair<double, std::string>>;
    for (const Readings& readings :
         {Readings{{96, ""}, {97, ""}, {99.95, "100"}, {100, ""}, {50, "reset"}, {0, ""}},
          {{100, "100"}, {96, "reset"}, {79.9, ""}, {80, "80"}},
          {{10, ""}, {79.99, ""}, {80, "80"}, {94.99, ""}, {95, "95"}, {99.89, ""}, {99.9, "100"}},
          {{95, ""}, {50, ""}, {81, "80"}},
          {{0, ""}, {100, "100"}}}) {
        UsageTracker tracker;
        for (const auto& [percent, expected] : readings)
            EXPECT_EQ(told(tracker.update(std::vector{window(percent)}, now)), expected) << percent;
    }
}

TEST(Usage, KeepsWindowsApart) {
    UsageTracker tracker;
    EXPECT_FALSE(tracker.seen());
    EXPECT_EQ(told(tracker.update({}, now)), "");
    EXPECT_TRUE(tracker.seen());
    const std::vector<UsageWindow> both = {window(85, "day"), window(100, "week")};
    const auto events = tracker.update(both, now); // no longer the first reading
    EXPECT_EQ(told(events), "80 100");
    ASSERT_EQ(events.size(), 2);
    EXPECT_EQ(events[1].window, both[1]);
    EXPECT_EQ(told(tracker.update(std::vector{window(85, "day")}, now)), "");
    EXPECT_EQ(tracker.stages().at("week"), UsageStage::exhausted); // missing, not forgotten

    // It started afresh, whatever the old figure says.
    EXPECT_EQ(told(tracker.update(std::vector{window(100, "week", now)}, now)), "reset");
    EXPECT_EQ(window(100, "week", now).percent(now), 0);
    EXPECT_EQ(window(42).percent(now), 42);
}

TEST(Usage, WindowsAreNamedByTheirLength) {
    using Name = UsageWindow::Kind::Name;
    const std::map<int, Name> names = {{120, Name::other},   {300, Name::fiveHours}, {1440, Name::day},
                                       {10080, Name::week},  {40319, Name::other},   {40320, Name::month},
                                       {44640, Name::month}, {44641, Name::other}};
    for (const auto& [minutes, name] : names) {
        UsageWindow usage = window(0);
        usage.minutes = minutes;
        const UsageWindow::Kind expected{name, name == Name::other ? minutes : 0};
        EXPECT_EQ(usage.kind(), expected) << minutes;
    }
}

TEST(Usage, WindowsComeBackFromJSON) {
    const auto json =
        parseJSON(R"({"id":"w","agent":"codex","minutes":10080,"usedPercent":12.5,"resetsAt":5})");
    const UsageWindow expected = {"w", Source::codex, 10080, 12.5, dateFromSeconds(5)};
    EXPECT_EQ(UsageWindow::fromJSON(*json), expected);
    EXPECT_EQ(expected.toJSON(), *json);
    const auto wrong =
        *parseJSON(R"({"id":7,"agent":"nobody","minutes":1.5,"usedPercent":"12","resetsAt":null})");
    for (const auto& [key, value] : wrong.items()) {
        auto broken = *json;
        broken[key] = value;
        EXPECT_THROW(UsageWindow::fromJSON(broken), RecordError) << key;
    }
}

} // namespace quorvik
