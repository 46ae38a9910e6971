// Drawing 1,000 sessions, all of them in view, against formatting the same texts into columns.

#include "Benchmarks/Measure.h"
#include "quorvik_island/Terminal/View.h"

#include "QuorvikApp/FrontEnds/Age.h"

#include "QuorvikCore/Text/Unicode.h"

int main() {
    using namespace quorvik;
    constexpr std::size_t count = 1000;
    const Date now = dateFromSeconds(1763700000);
    Snapshot snapshot;
    for (std::size_t index = 0; index < count; ++index) {
        SessionRecord record(Source::claude, "2f6d2b1c-" + std::to_string(index), "/home/u/app",
                             now - std::chrono::seconds(index));
        record.state = SessionState::working;
        record.title = "Fix the login bug " + std::to_string(index);
        record.tool = "Bash";
        record.summary = "npm run build && npm test -- --coverage";
        snapshot.overflow.push_back(
            {std::make_shared<const SessionRecord>(std::move(record)), DisplayState::working, false});
    }
    View view({.secrets = {}, .home = "/home/u"});
    view.show(std::make_shared<const Snapshot>(std::move(snapshot)));
    const ScreenSize size{count + 2, 120};
    const Frame frame = draw(view, size, now);
    std::size_t sink = 0;
    bench::compare(
        "a frame of 1,000 sessions", 101, [&] { sink += draw(view, size, now).rows.size(); },
        "formatting its texts into columns",
        [&] {
            // What every frame must do at least: each row's parts, found, formatted and put together.
            for (const SnapshotItem* item : view.snapshot().items()) {
                std::string row;
                for (const std::string& part :
                     {std::string(mark(item->record->source)), std::string(rawValue(item->display)),
                      age(item->record->stateSince, now), itemLabel(*item->record),
                      Unicode::terminalLine(*item->record->tool + " " + *item->record->summary)}) {
                    constexpr std::size_t width = 20;
                    row += part;
                    row.append(width - std::min(width, Unicode::columnCount(part)) + 2, ' ');
                }
                sink += row.size();
            }
        });
    return sink == 0;
}
