// Laying out 10,000 records, most of them visible, against copying them and stable-sorting the copies by a
// key that is known beforehand.

#include "Benchmarks/Measure.h"

#include "QuorvikCore/Island/Scheduler.h"

int main() {
    using namespace quorvik;
    constexpr int recordCount = 10'000;
    const Date now = dateFromSeconds(1763700000);
    constexpr SessionState states[] = {SessionState::working, SessionState::awaiting, SessionState::failed,
                                       SessionState::compacting, SessionState::done};
    std::vector<SessionRecord> records;
    for (int index = 0; index < recordCount; ++index) {
        const int shuffled = index * 7919 % recordCount;
        SessionRecord record(Source::claude,
                             "2f6d2b1c-4f3e-4a5b-9c8d-" + std::to_string(100'000'000'000 + index),
                             "/Users/somebody/projects/some-application", now);
        record.state = states[shuffled % 5];
        record.stateSince = now - std::chrono::milliseconds(shuffled);
        record.updatedAt = record.stateSince;
        record.tool = "Bash";
        record.summary = "npm run build && npm test -- --coverage";
        record.title = "Fix the login bug";
        records.push_back(std::move(record));
    }
    struct Keyed {
        double key;
        SessionRecord record;
    };
    std::size_t sink = 0;
    bench::compare(
        "layout of 10,000 records", 31, [&] { sink += Scheduler::layout(records, now).overflow.size(); },
        "copy + stable_sort",
        [&] {
            std::vector<Keyed> copies;
            copies.reserve(records.size());
            for (const SessionRecord& record : records)
                copies.push_back({secondsSince1970(record.updatedAt), record});
            std::ranges::stable_sort(copies, {}, &Keyed::key);
            sink += copies.size();
        });
    return sink == 0;
}
