#include "quorvik_island/Commands/ShowCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"
#include "quorvik_island/Screen.h"
#include "quorvik_island/Sessions.h"

#include "QuorvikApp/Control/ControlClient.h"
#include "QuorvikApp/FrontEnds/Activity.h"
#include "QuorvikApp/FrontEnds/Age.h"
#include "QuorvikApp/Model/Memory.h"

#include "QuorvikCore/Island/Scheduler.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace quorvik::ShowCommand {

namespace {

/// SGR parameters.
std::string_view style(const SnapshotItem& item) {
    switch (item.display) {
    case DisplayState::awaiting: return item.quiet ? "33" : "1;33"; // yellow, bold while it should be seen
    case DisplayState::failed: return "1;31";                       // red
    case DisplayState::working:
    case DisplayState::compacting: return "36"; // cyan
    case DisplayState::stale: return "2";       // faint
    case DisplayState::done: return "32";       // green
    }
    return {};
}

using Items = std::vector<std::pair<std::string_view, const SnapshotItem*>>; // with the sign of its place

/// Most urgent first.
Items itemsOf(const Snapshot& layout) {
    Items items;
    if (layout.primary) items.emplace_back("◆", &*layout.primary);
    for (const SnapshotItem& item : layout.bubbles)
        items.emplace_back("•", &item);
    for (const SnapshotItem& item : layout.overflow)
        items.emplace_back("", &item);
    return items;
}

/// How many columns each part of a line gets; the text of what is happening gets the rest.
struct Columns {
    std::size_t place = 2, mark = 3, gap = 2, display = 10, since = 6, label = 0;

    /// On a narrow screen each part is as wide as its longest text. The label is cut before the text of what
    /// is happening is, but not below a third of the room for both.
    Columns(const Items& items, Date now, const Screen& screen) {
        constexpr std::size_t widestLabel = 32, narrow = 60;
        std::size_t widestDisplay = 0, widestSince = 0, doings = 0;
        const auto include = [](std::size_t& widest, std::string_view text) {
            widest = std::max(widest, Unicode::columnCount(Unicode::terminalLine(text)));
        };
        for (const auto& [sign, item] : items) {
            include(widestDisplay, rawValue(item->display));
            include(widestSince, age(item->record->stateSince, now));
            include(label, itemLabel(*item->record));
            include(doings, activity(*item->record, itemLabel(*item->record)));
        }
        if (screen.columns < narrow) gap = 1, display = widestDisplay, since = widestSince;
        const std::size_t others = place + mark + display + since + 4 * gap;
        const std::size_t room = screen.columns - std::min(screen.columns, others);
        const std::size_t left = room - std::min(room, doings);
        label = std::min({label, widestLabel, std::max(left, room / 3)});
    }
};

/// Where the whole output of a failed command is, when the terminal has room for it; else empty.
std::string logLine(const SnapshotItem& item, const Screen& screen) {
    const auto& log = item.record->logPath;
    std::error_code ignored;
    if (item.display != DisplayState::failed || !log || screen.columns == Screen::unlimited ||
        !std::filesystem::exists(*log, ignored))
        return "";
    const std::string line = "       log: " + Unicode::terminalLine(*log); // below the state
    return Unicode::columnCount(line) > screen.columns ? "" : line + "\n";
}

void print(const Snapshot& layout, Date now, Console& console) {
    const Screen screen = Screen::ofStandardOutput();
    const Items items = itemsOf(layout);
    const Columns columns(items, now, screen);
    std::string lines;
    for (const auto& [sign, item] : items) {
        const std::string since = age(item->record->stateSince, now);
        ScreenLine line(screen);
        line.add(sign, columns.place);
        line.add(mark(item->record->source), columns.mark);
        line.skip(columns.gap);
        line.add(rawValue(item->display), columns.display, style(*item));
        line.skip(columns.gap + columns.since - std::min(since.size(), columns.since));
        line.add(since);
        line.skip(columns.gap);
        line.add(itemLabel(*item->record), columns.label);
        line.skip(columns.gap);
        line.add(activity(*item->record, itemLabel(*item->record)));
        lines += line.text() + "\n" + logLine(*item, screen);
    }
    console.text(lines);
}

void nameUnreadable(const std::vector<std::string>& paths, std::string_view one, std::string_view many,
                    Console& console) {
    if (paths.empty()) return;
    std::string text = std::to_string(paths.size()) + std::string(paths.size() == 1 ? one : many);
    std::string_view separator = ": ";
    for (const std::string& path : paths) {
        text += separator;
        text += Unicode::terminalLine(path);
        separator = ", ";
    }
    console.note(text);
}

/// What the app shows; absent when none runs, or it does not say, and then `why` is not empty.
std::optional<Snapshot> shownByApp(std::string& why) {
    constexpr ControlClient::Seconds patience(1.5);
    try {
        ControlClient client = ControlClient::connect("command", ControlClient::Start::never, patience);
        client.call("sync", nlohmann::json::object(), patience); // what is on disk now
        return client.snapshot();
    } catch (const NotRunning&) {
    } catch (const std::exception& error) {
        why = error.what();
    }
    return std::nullopt;
}

/// The snapshot that the app would make of these sessions, which must outlive the result.
Snapshot shownWithoutApp(const Sessions& sessions, Date now) {
    constexpr std::size_t most = 1 << 24; // bytes
    std::vector<std::string> problems;    // `settings` tells them
    Snapshot snapshot;
    snapshot.settings =
        Settings::parse(Files::read(QuorvikPaths::settingsFile(), most).value_or(""), problems);
    const Memory memory = Memory::parse(Files::read(QuorvikPaths::memoryFile(), most).value_or(""));
    const IslandLayoutView layout = Scheduler::layout(sessions.current(), now, snapshot.settings.scheduler,
                                                      memory.acknowledged, memory.pick);
    const auto item = [](const IslandItemView& view) {
        const std::shared_ptr<const SessionRecord> unowned(std::shared_ptr<void>(), view.record);
        return SnapshotItem{unowned, view.display, view.quiet};
    };
    if (layout.primary) snapshot.primary = item(*layout.primary);
    std::ranges::transform(layout.bubbles, std::back_inserter(snapshot.bubbles), item);
    std::ranges::transform(layout.overflow, std::back_inserter(snapshot.overflow), item);
    snapshot.corrupt = sessions.corrupt;
    snapshot.unsupported = sessions.unsupported;
    return snapshot;
}

} // namespace

int run(const Arguments& arguments) {
    Console console(arguments.has("--json"));
    const Date now = std::chrono::system_clock::now();
    Sessions sessions;
    std::string why;
    auto snapshot = shownByApp(why);
    if (!snapshot) {
        sessions = Sessions::load(QuorvikPaths::sessionsDirectory());
        if (!why.empty()) console.note(why + ": this is what the records say");
        for (const std::string& failure : sessions.failures)
            console.fail(failure);
        snapshot = shownWithoutApp(sessions, now);
    }
    if (console.json()) {
        console.valueText(SnapshotWriter().text(*snapshot));
        return console.exitStatus();
    }
    print(*snapshot, now, console);
    nameUnreadable(snapshot->corrupt, " file holds no readable session record",
                   " files hold no readable session record", console);
    nameUnreadable(snapshot->unsupported, " record is of another version of Quorvik",
                   " records are of another version of Quorvik", console);
    return console.exitStatus();
}

} // namespace quorvik::ShowCommand
