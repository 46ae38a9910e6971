#include "quorvik_island/Terminal/FrameTexts.h"

#include <algorithm>
#include <optional>

namespace quorvik::FrameTexts {

std::vector<std::string> emptyIsland(const View& view) {
    if (!view.whyDisconnected().empty()) return {};
    if (!view.isFirstRun())
        return {"", view.filter().empty() ? " Nothing is going on." : " Nothing holds that word."};
    const bool some = !view.agents().empty();
    std::vector<std::string> lines = {"", some ? " No coding agent is connected with Quorvik yet. Here are:"
                                               : " No coding agent was found in your home folder."};
    for (const FoundAgent& agent : view.agents())
        lines.push_back("   " + agent.name + ": " + agent.status);
    lines.emplace_back("");
    lines.emplace_back(some ? "   c  connect them    d  show an example" : "   d  show an example");
    return lines;
}

std::vector<std::string> help() {
    std::vector<std::string> lines;
    std::optional<KeyPlace> last;
    for (const KeyRule& rule : keyRules()) {
        if (last != rule.place) {
            if (last) lines.emplace_back("");
            lines.push_back(" " + std::string(heading(rule.place)));
            last = rule.place;
        }
        RowWriter row(RowWriter::unlimited);
        row.skip(3);
        row.add(rule.shown, Style::plain, 8);
        row.add(rule.meaning);
        lines.push_back(row.take().text);
    }
    return lines;
}

std::vector<std::string> details(const SessionRecord& record) {
    std::vector<std::string> lines = {std::string(displayName(record.source)) + ", " + record.cwd};
    const auto add = [&](std::string_view name, const std::optional<std::string>& value) {
        if (value && !value->empty()) lines.push_back(std::string(name) + ": " + *value);
    };
    add("doing", record.tool);
    add("summary", record.summary);
    add("detail", record.detail);
    if (record.exitCode) lines.push_back("exit status: " + std::to_string(*record.exitCode));
    add("log", record.logPath);
    add("page", record.webURL ? record.webURL : record.openURL);
    return lines;
}

namespace {

/// What is said below a sheet. A request that waits behind it comes before everything else.
std::string sheetNotice(const View& view) {
    const std::size_t waiting = view.card() ? view.snapshot().requests.size() : 0;
    std::string text;
    if (waiting > 0)
        text =
            std::to_string(waiting) + (waiting == 1 ? " request waits" : " requests wait") + ": n shows it";
    const Sheet& sheet = view.sheets().upper();
    const std::string other = !view.message().empty()           ? view.message()
                              : !view.whyDisconnected().empty() ? view.whyDisconnected()
                              : sheet.kind == Sheet::Kind::files
                                  ? "Enter shows what differs in the file, Esc goes back"
                              : sheet.kind == Sheet::Kind::clipboard ? "Enter does it, Esc goes back"
                                                                     : "Esc goes back";
    return text.empty() ? other : text + " · " + other;
}

} // namespace

std::string notice(const View& view) {
    switch (view.mode()) {
    case View::Mode::filter: return "/" + view.typed();
    case View::Mode::reason: return "why not? (Enter denies, Esc goes back) " + view.typed();
    case View::Mode::ownWords: return "your answer: " + view.typed();
    case View::Mode::help: return "j and k scroll, every other key goes back";
    case View::Mode::items: break;
    }
    if (view.sheets().isOpen()) return sheetNotice(view);
    if (!view.message().empty()) return view.message();
    if (!view.whyDisconnected().empty()) return view.whyDisconnected() + " (r tries again)";
    if (view.isExample()) return "an example; Esc ends it";
    if (!view.filter().empty()) return "only what holds \"" + view.filter() + "\"; Esc shows all";
    const auto& troubles = view.snapshot().troubles;
    return troubles.empty() ? "" : "! " + troubles.front();
}

std::string counts(const Snapshot& snapshot) {
    std::size_t waiting = 0, failed = 0, working = 0;
    for (const SnapshotItem* item : snapshot.items()) {
        waiting += item->display == DisplayState::awaiting ? 1 : 0;
        failed += item->display == DisplayState::failed ? 1 : 0;
        working +=
            item->display == DisplayState::working || item->display == DisplayState::compacting ? 1 : 0;
    }
    std::string text;
    const auto add = [&](std::size_t count, std::string_view what) {
        if (count == 0) return;
        text += text.empty() ? "" : " · ";
        text += std::to_string(count) + std::string(what);
    };
    add(std::max(waiting, snapshot.requests.size()), " wait");
    add(failed, " failed");
    add(working, " works");
    return text;
}

} // namespace quorvik::FrameTexts
