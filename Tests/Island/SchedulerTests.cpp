#include "QuorvikCore/Island/Scheduler.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>

namespace quorvik {

namespace {

constexpr double now = 1'763'700'000;

/// A record whose state and last write are so many seconds old.
SessionRecord record(Source source, std::string id, SessionState state, double age = 0, double idle = 0) {
    SessionRecord record(source, std::move(id), "/w", dateFromSeconds(now - age));
    record.state = state;
    record.updatedAt = dateFromSeconds(now - idle);
    return record;
}

SessionRecord withTool(SessionRecord record, const char* tool, std::optional<std::string> lastEvent = {}) {
    record.tool = tool;
    record.lastEvent = std::move(lastEvent);
    return record;
}

SessionRecord withPort(SessionRecord record) {
    record.port = 3000;
    return record;
}

/// "claude-a awaiting", "claude-a awaiting quiet", or nothing.
std::string shown(const std::optional<IslandItem>& item) {
    if (!item) return "";
    return item->id() + " " + std::string(rawValue(item->display)) + (item->quiet ? " quiet" : "");
}

/// "primary | bubbles | overflow", as ids without their source.
std::string shown(const IslandLayout& layout) {
    const auto name = [](const IslandItem& item) { return item.record.sessionID; };
    std::string text = layout.primary ? name(*layout.primary) : "";
    for (const auto* place : {&layout.bubbles, &layout.overflow}) {
        text += " |";
        for (const IslandItem& item : *place)
            text += " " + name(item);
    }
    return text;
}

} // namespace

TEST(Scheduler, ShowsARecordByItsStateAndAge) {
    using enum SessionState;
    const auto recordOf = [](Source source, const char* id) {
        return [=](SessionState state, double age, double idle = 0) {
            return record(source, id, state, age, idle);
        };
    };
    const auto claude = recordOf(Source::claude, "a"), service = recordOf(Source::service, "s");
    const auto git = [](const char* tool, double age) {
        return withTool(record(Source::git, "g", done, age), tool);
    };
    for (const auto& [record, expected] : std::initializer_list<std::pair<SessionRecord, std::string>>{
             {claude(idle, 0), ""},
             {claude(ended, 0), ""},
             {claude(working, 9000, 600), "claude-a working"},
             {claude(working, 0, 601), "claude-a stale"},
             {service(working, 0, 601), "service-s working"},
             {record(Source::update, "u", working, 0, 9000), "update-u working"},
             {claude(compacting, 0, 600), "claude-a compacting"},
             {claude(compacting, 0, 601), "claude-a stale"},
             {service(compacting, 0, 601), "service-s stale"},
             {claude(awaiting, 120, 9000), "claude-a awaiting"},
             {claude(awaiting, 121), "claude-a awaiting quiet"},
             {claude(awaiting, 1800), "claude-a awaiting quiet"},
             {claude(awaiting, 1801), "claude-a stale"},
             {claude(failed, 1e6), "claude-a failed"},
             {withPort(claude(failed, 1e6)), "claude-a failed"},
             {service(failed, 1e6), "service-s failed"},
             {withPort(service(failed, 14.5)), "service-s failed"},
             {withPort(service(failed, 15)), ""},
             {claude(done, 3.5), "claude-a done"},
             {claude(done, 4), ""},
             {withTool(claude(done, 4), "Clipboard"), ""},
             {git("Commit", 4), ""},
             {git("Clipboard", 1e6), "git-g done"},
             {git("Changes", 89.5), "git-g done"},
             {git("Usage", 89.5), "git-g done"},
             {git("Changes", 90), ""},
         }) {
        SCOPED_TRACE(record.toJSON().dump());
        const auto item = Scheduler::display(record, dateFromSeconds(now));
        EXPECT_EQ(shown(item), expected);
        EXPECT_TRUE(!item || item->record == record);
    }
    // The longer of the two lingers.
    for (const auto& [age, expected] : {std::pair(99, "git-g done"), std::pair(100, "")})
        EXPECT_EQ(shown(Scheduler::display(git("Changes", age), dateFromSeconds(now), SchedulerConfig(100))),
                  expected);
}

TEST(Scheduler, AcknowledgedItemsStayAwayUntilTheirStateChanges) {
    const Date date = dateFromSeconds(now);
    SessionRecord record = quorvik::record(Source::git, "g", SessionState::failed);
    for (const auto& [tool, state, isHidden] :
         std::initializer_list<std::tuple<const char*, SessionState, bool>>{
             {"Commit", SessionState::failed, true},
             {"Changes", SessionState::done, true},
             {"Usage", SessionState::done, true},
             {"Clipboard", SessionState::done, false},
             {"Commit", SessionState::done, false},
             {"Commit", SessionState::working, false}}) {
        record.tool = tool;
        record.state = state;
        const AcknowledgedKeys seen = {Scheduler::ackKey(record)};
        EXPECT_EQ(Scheduler::display(record, date, {}, seen).has_value(), !isHidden) << tool;
        SessionRecord again = record;
        again.stateSince += std::chrono::milliseconds(1);
        EXPECT_TRUE(Scheduler::display(again, date, {}, seen)) << tool;
    }
}

TEST(Scheduler, AcknowledgementKeysHoldTheShortestDecimal) {
    for (const std::string text :
         {"1763700000.0", "1763700000.5", "1763695000.123456", "0.1", "-1.25", "1000000000000000.0"}) {
        SessionRecord record(Source::codex, "x@y", "/w", dateFromSeconds(std::stod(text)));
        EXPECT_EQ(Scheduler::ackKey(record), "codex-x@y@" + text);
    }
    SessionRecord extreme(Source::git, "g", "/w", dateFromSeconds(-1.7976931348623157e308));
    EXPECT_EQ(Scheduler::ackKey(extreme).size(), sizeof "git-g@-.0" - 1 + 309);
}

TEST(Scheduler, RanksByStateWithAlertsAndClipboardInBetween) {
    const auto rank = [](SessionRecord record, DisplayState display) {
        return Scheduler::rank({std::move(record), display, false});
    };
    const SessionRecord git = record(Source::git, "g", SessionState::done);
    const SessionRecord claude = record(Source::claude, "a", SessionState::done);
    double last = -1;
    for (const auto& [record, display] : std::initializer_list<std::pair<SessionRecord, DisplayState>>{
             {claude, DisplayState::awaiting},
             {git, DisplayState::failed},
             {withTool(git, "Alert", "fail"), DisplayState::done},
             {withTool(git, "Clipboard"), DisplayState::done},
             {withTool(claude, "Clipboard"), DisplayState::working},
             {claude, DisplayState::stale},
             {withTool(git, "Alert", "action"), DisplayState::done},
             {withTool(git, "Changes"), DisplayState::done}}) {
        EXPECT_GT(rank(record, display), last);
        last = rank(record, display);
    }
    EXPECT_EQ(last, 4);
    EXPECT_EQ(rank(withTool(git, "Alert"), DisplayState::failed), 4);
    EXPECT_EQ(rank(withTool(git, "Alert", "info"), DisplayState::failed), 4);
    EXPECT_EQ(rank(claude, DisplayState::compacting), rank(claude, DisplayState::working));
    EXPECT_EQ(rank(withTool(claude, "Alert", "fail"), DisplayState::done), 4);
}

TEST(Scheduler, LaysOutByUrgencyThenWaitingThenActivity) {
    using enum SessionState;
    using Case = std::tuple<std::vector<SessionRecord>, int, std::string>;
    const auto claude = [](const char* id, SessionState state, double age = 0, double idle = 0) {
        return record(Source::claude, id, state, age, idle);
    };
    for (const auto& [records, maxBubbles, layout] : std::initializer_list<Case>{
             {{}, 3, " | |"},
             {{claude("a", idle), claude("b", ended)}, 3, " | |"},
             {{claude("w", working), claude("a", awaiting)}, 3, "a | w |"},
             {{claude("new", awaiting, 10), claude("old", awaiting, 20, 500)}, 3, "old | new |"},
             {{claude("quiet", working, 5, 9), claude("busy", working, 50, 2)}, 3, "busy | quiet |"},
             {{claude("a", working), claude("b", compacting), claude("c", working)}, 3, "a | b c |"},
             {{claude("s", working, 0, 700), claude("d", done), claude("f", failed), claude("a", awaiting)},
              2,
              "a | f s | d"},
             {{claude("a", working), claude("b", working, 0, 1)}, 0, "a | | b"},
             {{claude("a", working), claude("b", working, 0, 1)}, -5, "a | | b"},
             {{claude("a", awaiting), claude("a", working), claude("b", working, 0, 1)}, 3, "a | b |"},
             {{claude("a", working), record(Source::codex, "a", working, 0, 1)}, 3, "a | a |"}}) {
        SchedulerConfig config;
        config.maxBubbles = maxBubbles;
        const IslandLayout result = Scheduler::layout(records, dateFromSeconds(now), config);
        EXPECT_EQ(shown(result), layout);
        EXPECT_EQ(result.isEmpty(), layout == " | |");
    }
}

TEST(Scheduler, EqualItemsStayAsGiven) {
    std::vector<SessionRecord> records;
    std::string expected;
    for (char id = 'A'; id <= 'z'; ++id) {
        records.push_back(record(Source::claude, std::string(1, id), SessionState::working));
        expected += " " + records.back().sessionID;
    }
    SchedulerConfig config;
    config.maxBubbles = 0;
    EXPECT_EQ(shown(Scheduler::layout(records, dateFromSeconds(now), config)), "A | |" + expected.substr(2));

    // Of two alike, the first decides by what it is.
    const IslandItem seen{withTool(record(Source::git, "g", SessionState::done, 5, 9), "Clipboard"),
                          DisplayState::done, false};
    IslandItem asks = seen;
    asks.display = DisplayState::awaiting;
    asks.record.stateSince += std::chrono::seconds(1);
    asks.record.updatedAt += std::chrono::seconds(1);
    EXPECT_FALSE(Scheduler::order(seen, asks));
    EXPECT_FALSE(Scheduler::order(asks, seen));
}

TEST(Scheduler, APickStaysInFrontUntilSomethingMoreUrgentComesUp) {
    const SessionRecord work = record(Source::claude, "w", SessionState::working, 100);
    const SessionRecord asks = record(Source::codex, "a", SessionState::awaiting, 50);
    const SessionRecord fails = record(Source::build, "f", SessionState::failed, 20);
    const std::vector<SessionRecord> records = {work, asks, fails};
    using Case = std::tuple<std::string, ManualPick, std::string>;
    const auto ago = [](double seconds) { return dateFromSeconds(now - seconds); };
    for (const auto& [why, pick, layout] : std::initializer_list<Case>{
             {"the others are older", {"claude-w", work.stateSince, ago(10)}, "w | a f |"},
             {"at the very moment is not later", {"claude-w", work.stateSince, ago(20)}, "w | a f |"},
             {"failed since", {"claude-w", work.stateSince, ago(30)}, "a | f w |"},
             {"the newer one is less urgent", {"codex-a", asks.stateSince, ago(45)}, "a | f w |"},
             {"the more urgent one is older", {"build-f", fails.stateSince, ago(15)}, "f | a w |"},
             {"another state by now", {"claude-w", ago(99), ago(10)}, "a | f w |"},
             {"gone", {"claude-x", work.stateSince, ago(10)}, "a | f w |"}})
        EXPECT_EQ(shown(Scheduler::layout(records, dateFromSeconds(now), {}, {}, pick)), layout) << why;

    // Something as urgent is not more urgent.
    const std::vector<SessionRecord> both = {work, record(Source::claude, "v", SessionState::working, 1)};
    EXPECT_EQ(shown(Scheduler::layout(both, dateFromSeconds(now), {}, {},
                                      ManualPick{"claude-w", work.stateSince, ago(10)})),
              "w | v |");
}

TEST(Scheduler, NothingChangesBeforeTheNextChange) {
    std::mt19937 random(1); // the same records every time
    const auto pick = [&](auto... choices) {
        const std::array all{choices...};
        return all[random() % all.size()];
    };
    std::size_t changes = 0;
    for (int round = 0; round < 3000; ++round) {
        SchedulerConfig config;
        config.doneLinger = pick(4.0, 0.0, 0.1, 1e-9);
        config.staleAfter = pick(600.0, 3.3, 0.7);
        config.awaitingQuietAfter = pick(120.0, 0.3, 5000.0);
        std::vector<SessionRecord> records;
        for (int index = 0; index < 3; ++index) {
            SessionRecord& added = records.emplace_back(record(
                pick(Source::claude, Source::git, Source::service, Source::update), std::to_string(index),
                static_cast<SessionState>(random() % rawValues<SessionState>.size()),
                pick(0.0, 0.1, 3.9999, 89.7, 119.99, 1799.5, 1e9, -7.3), pick(0.0, 0.7, 599.9, -3.0)));
            added.tool = pick("Bash", "Changes", "Clipboard", "Alert");
            if (random() % 2 == 0) added.port = 80;
        }
        std::vector<const SessionRecord*> pointers;
        for (const SessionRecord& each : records)
            pointers.push_back(&each);
        const auto at = [&](Date moment) { return Scheduler::layout(records, moment, config); };

        const Date start = dateFromSeconds(now + round * 0.001);
        const auto next = Scheduler::nextChange(pointers, start, config);
        const Date last = next ? *next : start + std::chrono::duration<double>(1e6);
        ASSERT_GT(last, start);
        const auto before = [](Date moment) {
            return dateFromSeconds(std::nextafter(secondsSince1970(moment), 0));
        };
        for (const Date moment : {before(last), start + (last - start) / 2, start + (last - start) / 7})
            ASSERT_TRUE(moment <= start || at(moment) == at(start)) << "late: " << round;
        if (next) changes += at(*next) != at(start);
        ASSERT_TRUE(!next || at(*next) != at(start)) << "early: " << round;
    }
    EXPECT_GT(changes, 1000U); // the records are such that there is something to see
}

} // namespace quorvik
