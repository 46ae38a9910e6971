// What gh prints, whatever is in it. Input: one text, taken as the answer to every question of two looks.

#include "Fuzz/Check.h"

#include "QuorvikApp/Model/GitHubFeed.h"

#include "QuorvikCore/GitHub/GitHubRepository.h"

using namespace quorvik;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto name = GitHubRepository::nameOf(text)) CHECK(GitHubRepository::isName(*name));

    const GitHubReply reply = GitHubReply::parse(text);
    GitHubFeed feed;
    Date now = dateFromSeconds(1'415'390'000);
    feed.restart(now);
    for (int look = 0; look < 2; ++look) {
        feed.begin({{"o/a", "/a"}, {"o/b", ""}}, SchedulerConfig(), now);
        std::size_t questions = 0;
        while (const auto words = feed.next(now)) {
            CHECK(words->front() == "gh" && ++questions <= 1 + 2 * GitHubFeed::mostCallsPerLook);
            for (const std::string& word : *words)
                CHECK(word.find('\n') == word.npos);
            feed.answered(reply, now);
        }
        for (const auto& record : feed.records())
            CHECK(!record->openURL || record->openURL->starts_with("http"));
        CHECK(feed.pause(now) >= 60 && feed.pause(now) <= 6 * 3600);
        now += std::chrono::duration<double>(feed.pause(now));
    }
    return 0;
}
