#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/Text.h"

#include "QuorvikCore/Text/LinesFromEnd.h"
#include "QuorvikCore/Usage/ClaudeUsage.h"
#include "QuorvikCore/Usage/UsageSources.h"

#include <fstream>

namespace quorvik {

namespace {

const Date now = dateFromSeconds(1'795'235'000);
using std::chrono::minutes;

UsageWindow window(double percent, Date resetsAt = now + minutes(100), std::string id = "claude.five_hour") {
    return {std::move(id), Source::claude, 300, percent, resetsAt};
}

/// "codex.primary 300 12.5 1795235000, …"
std::string text(const std::vector<UsageFigure>& figures) {
    std::string all;
    for (const auto& [window, toldAt] : figures)
        all += (all.empty() ? "" : ", ") + window.id + " " + std::to_string(window.minutes) + " " +
               printJSON(window.usedPercent) + " " +
               std::to_string(static_cast<std::int64_t>(secondsSince1970(window.resetsAt)));
    return all;
}

std::string tokens(const std::string& limits, const std::string& time = "2026-11-21T05:30:30.123Z") {
    return R"({"timestamp":")" + time +
           R"(","type":"event_msg","payload":{"type":"token_count","rate_limits":)" + limits + "}}";
}
std::string primary(const std::string& used) {
    return R"({"primary":{"used_percent":)" + used + R"(,"window_minutes":300,"resets_at":1795235501}})";
}

class UsageSourcesTests : public testing::TemporaryHome {
  protected:
    void append(const std::string& file, const std::string& content) const {
        if (!std::filesystem::exists(home / file)) write(file, "");
        std::ofstream(home / file, std::ios::app) << content;
    }
};

} // namespace

TEST_F(UsageSourcesTests, TakesOfAStatusLineWhatCanBeTrue) {
    const std::string good = R"("five_hour":{"used_percentage":42.4,"resets_at":1795235501.5})";
    for (const auto& [limits, expected] : std::initializer_list<std::pair<std::string, std::string>>{
             {"{" + good + R"(,"seven_day":{"used_percentage":8,"resets_at":1795626501},"new":{}})",
              "claude.five_hour 300 42.4 1795235501, claude.seven_day 10080 8.0 1795626501"},
             {R"({"five_hour":{"used_percentage":130,"resets_at":1}})", "claude.five_hour 300 100.0 1"},
             {R"({"five_hour":{"used_percentage":"42","resets_at":1}})", ""},
             {R"({"five_hour":{"used_percentage":-1,"resets_at":1}})", ""},
             {R"({"five_hour":{"used_percentage":1e9,"resets_at":1}})", ""},
             {R"({"five_hour":{"used_percentage":1e999,"resets_at":1}})", ""},
             {R"({"five_hour":{"used_percentage":4,"resets_at":1795235501000}})", ""}, // milliseconds
             {R"({"five_hour":{"used_percentage":4,"resets_at":"2026-11-21"}})", ""},
             {R"({"five_hour":{"used_percentage":4},"seven_day":null})", ""},
             {R"([{)" + good + "}]", ""},
             {"null", ""}}) {
        std::vector<UsageFigure> figures;
        for (UsageWindow& told : ClaudeUsage::parse(R"({"rate_limits":)" + limits + "}"))
            figures.push_back({std::move(told), now});
        EXPECT_EQ(text(figures), expected) << limits;
        EXPECT_EQ(UsageFigures::parse(UsageFigures::text(figures)), figures);
    }
    EXPECT_TRUE(ClaudeUsage::parse(R"({"x":)" + std::string(100'000, '[')).empty());
}

TEST_F(UsageSourcesTests, KeepsTheNewestFigureOfSeveralSessions) {
    const UsageFigure kept = {window(90), now};
    struct Case {
        UsageWindow told;
        double after; // seconds
        bool isTaken;
    };
    for (const auto& [told, after, isTaken] :
         std::initializer_list<Case>{{window(90), 59, false},
                                     {window(90), 60, true},   // confirmed
                                     {window(90.5), 0, true},  // grows
                                     {window(90), -1, true},   // the clock was set back
                                     {window(80), 599, false}, // a session that has been idle
                                     {window(80), 600, true},  // a falling figure
                                     {window(80, now + minutes(100) + minutes(2)), 1, true}, // a moved reset
                                     {window(99, now + minutes(90)), 1, false},
                                     {window(99, now), 6000, false}, // reset long ago
                                     {window(1, now + minutes(1), "claude.seven_day"), 0, true}}) {
        const Date then = now + std::chrono::duration<double>(after);
        const auto figures = ClaudeUsage::updated({&kept, 1}, {&told, 1}, then);
        ASSERT_EQ(figures.has_value(), isTaken) << told.usedPercent << " " << after;
        if (!isTaken) continue;
        const UsageFigure taken = {told, then};
        EXPECT_EQ(figures->back(), taken);
        EXPECT_EQ(figures->size(), told.id == kept.window.id ? 1 : 2);
    }
    EXPECT_TRUE(kept.isCurrent(now + minutes(5)));
    EXPECT_FALSE(kept.isCurrent(now + minutes(6)));
}

TEST_F(UsageSourcesTests, UnderstandsLinesOfRollouts) {
    for (const auto& [line, expected] : std::initializer_list<std::pair<std::string, std::string>>{
             {tokens(R"({"primary":{"used_percent":12.5,"window_minutes":299,"resets_in_seconds":70},)"
                     R"("secondary":{"used_percent":3,"window_minutes":10080,"resets_at":1795626501}})"),
              "codex.primary 300 12.5 1795239100, codex.secondary 10080 3.0 1795626501"},
             {tokens(primary("3"), "2026-11-21T05:30:30Z"), "codex.primary 300 3.0 1795235501"},
             {tokens(R"({"limit_id":"mini",)" + primary("3").substr(1)),
              "codex.mini.primary 300 3.0 1795235501"},
             {tokens(R"({"limit_id":"codex",)" + primary("3").substr(1)), "codex.primary 300 3.0 1795235501"},
             {tokens(R"({"limit_id":"\u001b[2J",)" + primary("3").substr(1)), ""},
             {tokens(primary("3"), "yesterday"), ""},
             {tokens(primary("-3")), ""},
             {tokens(primary("\"3\"")), ""},
             {tokens("null"), ""},
             {tokens(R"({"primary":null,"secondary":[]})"), ""},
             {tokens(primary("3")).substr(1), ""}, // cut
             {R"({"timestamp":"2026-11-21T05:30:30Z","payload":"\"rate_limits\""})", ""}})
        EXPECT_EQ(text(CodexUsage::parse(line)), expected) << line;
}

TEST_F(UsageSourcesTests, ReadsRolloutsFromTheirEndsAndOnlyWhatIsNew) {
    CodexUsage usage(home / "sessions");
    EXPECT_EQ(text(usage.read()), "");
    const std::string first = "sessions/2026/11/20/rollout-a.jsonl",
                      later = "sessions/2026/11/21/rollout-b.jsonl";
    append("sessions/2026/11/x/rollout-c.jsonl", tokens(primary("99")) + "\n"); // no day
    append("sessions/2026/11/21/notes.jsonl", tokens(primary("99")) + "\n");
    append(first, tokens(primary("10")) + "\n" + tokens("null") + "\n" + std::string(3'000'000, 'x') + "\n");
    append("sessions/2026/11/21/rollout-long.jsonl",
           tokens(primary("5")) + "\n" + testing::repeated(std::string(1000, 'x') + "\n", 6000));
    EXPECT_EQ(text(usage.read()), "codex.primary 300 10.0 1795235501");
    EXPECT_EQ(usage.newestFolder(), home / "sessions/2026/11/21");

    append(later, tokens(primary("20"), "2026-11-21T05:40:00Z")); // still being written
    EXPECT_EQ(text(usage.read()), "codex.primary 300 10.0 1795235501");
    append(later, "\n" + testing::repeated("{}\n", 100'000));
    EXPECT_EQ(text(usage.read()), "codex.primary 300 20.0 1795235501");
    append(first, tokens(primary("15")) + "\n"); // older than what is known
    EXPECT_EQ(text(usage.read()), "codex.primary 300 20.0 1795235501");
    append(first, tokens(primary("25"), "2026-11-21T05:50:00Z") + "\n"); // a session that is taken up again
    EXPECT_EQ(text(usage.read()), "codex.primary 300 25.0 1795235501");

    // What was read is not read again: a figure that only now stands there is not seen.
    std::fstream(home / first) << tokens(primary("77"), "2026-11-21T06:00:00Z") << '\n';
    EXPECT_EQ(text(usage.read()), "codex.primary 300 25.0 1795235501");
    write(later, tokens(primary("30"), "2026-11-21T06:10:00Z") + "\n"); // another file of that name
    EXPECT_EQ(text(usage.read()), "codex.primary 300 30.0 1795235501");
    std::filesystem::remove_all(home / "sessions");
    EXPECT_EQ(text(usage.read()), "codex.primary 300 30.0 1795235501");
}

TEST_F(UsageSourcesTests, ALookCostsNoMoreThanItsBudget) {
    std::uint64_t asked = 0;
    const std::string all = testing::repeated("x", 100'000) + "\nlast\n";
    LinesFromEnd lines(
        [&](std::uint64_t offset, std::size_t length) {
            asked += length;
            return all.substr(offset, length);
        },
        1000, 5000);
    std::string seen;
    EXPECT_EQ(lines.go(0, all.size(), [&](std::string_view line) { return seen += line, false; }),
              all.size());
    EXPECT_EQ(seen, "last"); // and not the line that is too long
    EXPECT_EQ(asked, all.size());
    EXPECT_EQ(lines.go(0, all.size(), [&](std::string_view) { return true; }), all.size());
    EXPECT_LE(asked, all.size() + 1000);
    EXPECT_EQ(lines.go(0, all.size() + 1, [&](std::string_view) { return true; }), 0); // it became shorter
}

TEST_F(UsageSourcesTests, FilesThatMakeNoSenseTellNothing) {
    ::setenv("CODEX_HOME", (home / "codex").c_str(), 1);
    append("codex/sessions/2026/11/21/rollout-b.jsonl", tokens(primary("20")) + "\n");
    const UsageFigure figure = {window(42.5), now};
    const std::string good = UsageFigures::text({&figure, 1});
    UsageSources sources;
    for (const std::string& broken :
         {std::string(), std::string("[]"), good.substr(1), std::string(R"({"figures":[7]})"),
          std::string(R"({"figures":{}})"), R"({"figures":[)" + testing::repeated("{},", 100) + "{}]}",
          std::string(good).replace(good.find("42.5"), 4, "1e9"), std::string(1 << 17, ' ')}) {
        write("support/usage/claude.json", broken);
        EXPECT_EQ(text(sources.read()), "codex.primary 300 20.0 1795235501") << broken.substr(0, 100);
    }
    write("support/usage/claude.json", good);
    EXPECT_EQ(text(sources.read()),
              "claude.five_hour 300 42.5 1795241000, codex.primary 300 20.0 1795235501");
}

} // namespace quorvik
