#include "quorvik_island/ShowCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"
#include "quorvik_island/Screen.h"
#include "quorvik_island/Sessions.h"

#include "QuorvikCore/Island/Scheduler.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace quorvik::ShowCommand {

namespace {

constexpr std::string_view help =
    R"(usage: quorvik-island show [--json]

Prints what the island shows: a line each, the most urgent first.

  ◆ CC   awaiting     2 min  Fix the login bug  Allow npm install?

"◆" stands before the item in the notch itself, "•" before those beside it, nothing before those that do
not fit there. Then who it is, its state, for how long, the task or tool, and what is happening. Prints
nothing when there is nothing to show. Sessions whose process is gone count as ended. What failed is shown
until somebody has seen it: `quorvik-island clear` forgets it. Files that hold no readable record are named
on standard error.

  --json   one object: "primary" (null when there is nothing to show), "bubbles" and "overflow", each item
           with "id", "display", "quiet", "needsAttention", "mark", "label", and "record", the session record;
           and, instead of standard error, the paths of unreadable files, "corrupt" and "unsupported" (of
           another version)

Examples:
  quorvik-island show
  quorvik-island show --json | jq -r '.primary.label // empty'
)";

/// What the item is about, on one line: its task, else its tool or command, else who it is.
std::string label(const SessionRecord& record) {
    for (const auto* text : {&record.title, &record.tool}) {
        std::string shown = Unicode::terminalLine(text->value_or(""));
        if (!Unicode::trimmed(shown, Unicode::isWhitespace).empty()) return shown;
    }
    return std::string(displayName(record.source));
}

nlohmann::json itemJSON(const IslandItemView& item) {
    return {{"id", item.record->key()},
            {"display", rawValue(item.display)},
            {"quiet", item.quiet},
            {"needsAttention", needsAttention(item.display)},
            {"mark", mark(item.record->source)},
            {"label", label(*item.record)},
            {"record", item.record->toJSON()}};
}

nlohmann::json itemsJSON(const std::vector<IslandItemView>& items) {
    nlohmann::json list = nlohmann::json::array();
    for (const IslandItemView& item : items)
        list.push_back(itemJSON(item));
    return list;
}

nlohmann::json layoutJSON(const IslandLayoutView& layout, const Sessions& sessions) {
    return {{"primary", layout.primary ? itemJSON(*layout.primary) : nlohmann::json()},
            {"bubbles", itemsJSON(layout.bubbles)},
            {"overflow", itemsJSON(layout.overflow)},
            {"corrupt", sessions.corrupt},
            {"unsupported", sessions.unsupported}};
}

/// SGR parameters.
std::string_view style(const IslandItemView& item) {
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

/// "12 s", "3 min", "5 h", "2 d".
std::string age(Date since, Date now) {
    const double seconds = std::max(0.0, (now - since).count()); // the clock may have been set back
    struct Unit {
        double length; // seconds
        std::string_view name;
    };
    constexpr Unit units[] = {{86400, " d"}, {3600, " h"}, {60, " min"}, {1, " s"}};
    for (const auto& [length, name] : units) {
        if (seconds >= length || length == 1) {
            const double count = std::min(std::floor(seconds / length), 99999.0);
            return std::to_string(static_cast<int>(count)) + std::string(name);
        }
    }
    return {};
}

/// The width of the label column: as wide as its widest label, within reason.
std::size_t labelColumns(const IslandLayoutView& layout) {
    constexpr std::size_t widest = 32;
    std::size_t columns = 0;
    const auto include = [&](const IslandItemView& item) {
        columns = std::max(columns, std::min(widest, Unicode::columnCount(label(*item.record))));
    };
    if (layout.primary) include(*layout.primary);
    std::ranges::for_each(layout.bubbles, include);
    std::ranges::for_each(layout.overflow, include);
    return columns;
}

void print(const IslandLayoutView& layout, Date now, Console& console) {
    constexpr std::size_t gap = 2, markWidth = 3, displayWidth = 10, sinceWidth = 6;
    const Screen screen = Screen::ofStandardOutput();
    const std::size_t labelWidth = labelColumns(layout);
    std::string lines;
    const auto add = [&](std::string_view place, const IslandItemView& item) {
        const std::string since = age(item.record->stateSince, now);
        ScreenLine line(screen);
        line.add(place, 2);
        line.add(mark(item.record->source), markWidth);
        line.skip(gap);
        line.add(rawValue(item.display), displayWidth, style(item));
        line.skip(gap + sinceWidth - std::min(since.size(), sinceWidth));
        line.add(since);
        line.skip(gap);
        line.add(label(*item.record), labelWidth);
        line.skip(gap);
        if (item.record->summary) line.add(*item.record->summary);
        lines += line.text() + "\n";
    };
    if (layout.primary) add("◆", *layout.primary);
    for (const IslandItemView& item : layout.bubbles)
        add("•", item);
    for (const IslandItemView& item : layout.overflow)
        add("", item);
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

} // namespace

int run(std::span<const std::string> commandLine) {
    constexpr std::array<std::string_view, 1> flags = {"--json"};
    const Arguments arguments = Arguments::parse(commandLine, flags, {});
    if (arguments.has("--help")) return printHelp(help);
    if (!arguments.words.empty()) throw UsageError("show: unexpected argument " + arguments.words.front());

    Console console(arguments.has("--json"));
    const Sessions sessions = Sessions::load(QuorvikPaths::sessionsDirectory());
    const Date now = std::chrono::system_clock::now();
    const IslandLayoutView layout = Scheduler::layout(sessions.current(), now);
    if (console.json()) {
        console.value(layoutJSON(layout, sessions));
        return console.exitStatus();
    }
    print(layout, now, console);
    nameUnreadable(sessions.corrupt, " file holds no readable session record",
                   " files hold no readable session record", console);
    nameUnreadable(sessions.unsupported, " record is of another version of Quorvik",
                   " records are of another version of Quorvik", console);
    return console.exitStatus();
}

} // namespace quorvik::ShowCommand
