#include "Tests/Support/Program.h"
#include "Tests/Support/TemporaryHome.h"

#include "QuorvikCore/Text/ISO8601.h"
#include "QuorvikCore/Usage/ClaudeUsage.h"

#include <regex>

namespace quorvik {

using testing::Program;

class UsageCommandTests : public testing::TemporaryHome {
  protected:
    static Program::Result usage(std::vector<std::string> words = {}) {
        words.insert(words.begin(), {testing::programPath("quorvik-island"), "usage"});
        return Program::run(words);
    }
};

TEST_F(UsageCommandTests, SaysWhatIsUsedAndSinceWhenThatIsKnown) {
    EXPECT_EQ(usage().status, 0);
    EXPECT_TRUE(usage().errors.starts_with("quorvik-island: usage: no agent has told of its limits"));
    EXPECT_EQ(usage({"--json"}).output, "[]\n");

    const Date now = std::chrono::system_clock::now();
    const auto seconds = [&](double after) {
        return std::to_string(std::floor(secondsSince1970(now) + after));
    };
    ClaudeUsage::keep(R"({"rate_limits":{"five_hour":{"used_percentage":42.5,"resets_at":)" + seconds(7300) +
                          R"(},"seven_day":{"used_percentage":100,"resets_at":)" + seconds(400'000) + "}}}",
                      now);
    const Date before = now - std::chrono::hours(2);
    write(".codex/sessions/2026/11/21/rollout-x.jsonl",
          R"({"timestamp":")" + ISO8601::text(before) +
              R"(","payload":{"rate_limits":{"primary":{"used_percent":97,"window_minutes":1440,)" +
              R"("resets_in_seconds":7000},"secondary":{"used_percent":0,"window_minutes":60,)" +
              R"("resets_in_seconds":86400}}}})" + "\n");
    const std::string expected =
        "Claude Code  5 hours  █████████░░░░░░░░░░░  43 %  resets (... )?[0-9:]{5}, in 2 h +from the agent\n"
        "Claude Code  week     ████████████████████ 100 %  resets ... [0-9:]{5}, in 4 d +from the agent\n"
        "Codex        day      ░░░░░░░░░░░░░░░░░░░░   0 %  has reset +as of 2 h ago\n"
        "Codex        60 min   ░░░░░░░░░░░░░░░░░░░░   0 %  resets (... )?[0-9:]{5}, in 21 h +as of 2 h ago\n";
    const auto result = usage();
    EXPECT_TRUE(std::regex_match(result.output, std::regex(expected))) << result;
    const auto list = parseJSON(usage({"--json"}).output).value_or(nullptr);
    ASSERT_EQ(list.size(), 4);
    EXPECT_EQ(list[1]["stage"], 100);
    EXPECT_EQ(list[1]["isCurrent"], true);
    EXPECT_EQ(list[2]["usedPercent"], 0);
    EXPECT_EQ(list[2]["isCurrent"], false);
}

} // namespace quorvik
