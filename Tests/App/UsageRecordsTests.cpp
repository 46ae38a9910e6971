#include "QuorvikApp/Model/IslandModel.h"
#include "QuorvikApp/Model/UsageRecords.h"

#include <gtest/gtest.h>

namespace quorvik {

namespace {

const Date start = dateFromSeconds(1'795'235'400); // Saturday 2026-11-21, 04:30 UTC
using std::chrono::hours;

UsageFigure figure(const std::string& id, std::int64_t minutes, double percent, Date resetsAt) {
    return {{id, Source::codex, minutes, percent, resetsAt}, start};
}

/// "usage-a: text | usage-b: text", and so on.
std::string told(const UsageRecords& usage) {
    std::string text;
    for (const auto& record : usage.records())
        text += (text.empty() ? "" : " | ") + record->sessionID + ": " + record->summary.value_or("");
    return text;
}

} // namespace

TEST(UsageRecords, TellsStagesAndTheEndOfAnExhaustion) {
    ::setenv("TZ", "UTC", 1);
    UsageRecords usage;
    const auto week = [](double percent, int days = 3) {
        return figure("w", 10080, percent, start + days * hours(24));
    };
    const auto read = [&](std::vector<UsageFigure> figures, Date now) { return usage.update(figures, now); };
    EXPECT_FALSE(read({week(85)}, start)); // old news
    EXPECT_FALSE(usage.nextChange(start));
    EXPECT_TRUE(read({week(96)}, start));
    EXPECT_EQ(told(usage), "usage-w: 95 % of the weekly limit used, resets Tue 04:30");
    EXPECT_FALSE(read({week(96, 2)}, start)); // a moved reset
    EXPECT_FALSE(read({week(20, 2)}, start)); // a falling figure
    EXPECT_TRUE(
        read({week(81, 10), figure("codex.mini.primary", 300, 100, start + hours(2))}, start + hours(1)));
    EXPECT_EQ(told(usage), "usage-w: 80 % of the weekly limit used, resets 1 Dec 04:30 | "
                           "usage-codex.mini.primary: the 5-hour limit of mini is used up until 06:30");
    EXPECT_EQ(usage.nextChange(start + hours(1)), start + hours(2));

    IslandModel model;
    model.setSignal("usage", usage.records(), start + hours(1));
    EXPECT_EQ(model.snapshot(start + hours(1)).items().size(), 2);
    EXPECT_TRUE(model.acknowledge("git-usage-w", start + hours(1)));
    EXPECT_EQ(model.snapshot(start + hours(1)).items().size(), 1);

    EXPECT_FALSE(usage.forget(start + hours(1), 90));
    EXPECT_TRUE(read({figure("codex.mini.primary", 300, 100, start + hours(2))}, start + hours(2)));
    EXPECT_FALSE(usage.nextChange(start + hours(2)));
    EXPECT_TRUE(usage.forget(start + hours(2), 90));
    EXPECT_EQ(told(usage), "usage-codex.mini.primary: the 5-hour limit of mini has reset");
}

} // namespace quorvik
