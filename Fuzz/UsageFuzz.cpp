// What agents and services say of the limits of accounts, whatever is in it. Input: one text, taken as a
// status line's input, a service's answer, credentials, our file of figures and lines of a rollout.

#include "Fuzz/Check.h"

#include "QuorvikCore/Text/LinesFromEnd.h"
#include "QuorvikCore/Usage/AccountUsage.h"
#include "QuorvikCore/Usage/ClaudeUsage.h"
#include "QuorvikCore/Usage/CodexUsage.h"

using namespace quorvik;

namespace {

void check(const UsageWindow& window) {
    CHECK(plausibleWindow(window.id, window.agent, window.minutes, window.usedPercent,
                          secondsSince1970(window.resetsAt)) == window);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto told = ClaudeUsage::parse(text);
    for (const UsageWindow& window : told)
        check(window);
    for (const Source agent : {Source::claude, Source::grok})
        for (const UsageWindow& window : AccountUsage::parse(agent, text))
            check(window);
    const auto token = AccountUsage::claudeToken(text, dateFromSeconds(0));
    const auto request = AccountUsage::request(Source::claude, text, token.value_or("t"));
    CHECK(!request || request->url.find_first_of("\r\n @") == std::string::npos);

    const Date now = dateFromSeconds(1'795'000'000);
    const auto kept = UsageFigures::parse(text);
    CHECK(UsageFigures::parse(UsageFigures::text(kept)) == kept);
    if (const auto figures = ClaudeUsage::updated(kept, told, now)) {
        CHECK(figures->size() >= kept.size() && figures->size() <= kept.size() + told.size());
        CHECK(!ClaudeUsage::updated(*figures, told, now)); // nothing is new twice
    }

    // However small the blocks are, the lines are those between the line feeds.
    constexpr std::size_t longest = 400;
    std::vector<std::string_view> lines;
    std::size_t start = 0;
    for (auto feed = text.find('\n'); feed != text.npos; feed = text.find('\n', start)) {
        if (feed - start <= longest) lines.push_back(text.substr(start, feed - start));
        start = feed + 1;
    }
    const auto read = [&](std::uint64_t offset, std::size_t length) {
        return std::string(text.substr(static_cast<std::size_t>(offset), length));
    };
    const std::uint64_t end =
        LinesFromEnd(read, size % 97 + 1, longest).go(0, size, [&](std::string_view line) {
            CHECK(!lines.empty() && lines.back() == line);
            lines.pop_back();
            for (const UsageFigure& figure : CodexUsage::parse(line))
                check(figure.window);
            return false;
        });
    CHECK(end == start && lines.empty());
    return 0;
}
