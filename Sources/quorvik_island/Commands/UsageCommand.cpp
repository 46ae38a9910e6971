#include "quorvik_island/Commands/UsageCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"
#include "quorvik_island/Screen.h"

#include "QuorvikApp/FrontEnds/Age.h"
#include "QuorvikApp/Model/UsageRecords.h"

#include "QuorvikCore/Text/Unicode.h"
#include "QuorvikCore/Usage/UsageSources.h"

#include <algorithm>
#include <cmath>

namespace quorvik::UsageCommand {

namespace {

std::string bar(double percent, std::size_t cells) {
    const auto full = static_cast<std::size_t>(std::lround(percent / 100 * static_cast<double>(cells)));
    std::string text;
    for (std::size_t cell = 0; cell < cells; ++cell)
        text += cell < full ? "█" : "░";
    return text;
}

std::string_view style(UsageStage stage) {
    switch (stage) {
    case UsageStage::none: return "32";
    case UsageStage::warn80: return "33";
    case UsageStage::warn95:
    case UsageStage::exhausted: break;
    }
    return "31";
}

std::string resetText(const UsageWindow& window, Date now) {
    if (window.resetsAt <= now) return "has reset";
    return "resets " + clockTime(window.resetsAt, now) + ", in " + age(now, window.resetsAt);
}

/// The figures as lines, each column as wide as its longest text.
std::string linesOf(const std::vector<UsageFigure>& figures, Date now, const Screen& screen) {
    constexpr std::size_t wide = 95; // columns
    std::size_t agents = 0, names = 0, resets = 0;
    const auto include = [](std::size_t& widest, std::string_view text) {
        widest = std::max(widest, Unicode::columnCount(text));
    };
    for (const auto& [window, toldAt] : figures) {
        include(agents, displayName(window.agent));
        include(names, windowName(window));
        include(resets, resetText(window, now));
    }
    std::string lines;
    for (const UsageFigure& figure : figures) {
        const double percent = figure.window.percent(now);
        const std::string share = std::to_string(std::lround(percent)) + " %";
        ScreenLine line(screen);
        line.add(displayName(figure.window.agent), agents);
        line.skip(2);
        line.add(windowName(figure.window), names);
        line.skip(2);
        line.add(bar(percent, screen.columns < wide ? 8 : 20), Screen::unlimited, style(usageStage(percent)));
        line.skip(1 + std::string_view("100 %").size() - share.size());
        line.add(share);
        line.skip(2);
        line.add(resetText(figure.window, now), resets);
        line.skip(2);
        line.add(figure.isCurrent(now) ? "from the agent" : "as of " + age(figure.toldAt, now) + " ago");
        lines += line.text() + "\n";
    }
    return lines;
}

} // namespace

int run(const Arguments& arguments) {
    Console console(arguments.has("--json"));
    const Date now = std::chrono::system_clock::now();
    nlohmann::json list = nlohmann::json::array();
    const std::vector<UsageFigure> figures = UsageSources().read();
    for (const UsageFigure& figure : figures) {
        nlohmann::json members = figure.window.toJSON();
        const double percent = figure.window.percent(now);
        members["usedPercent"] = percent;
        members["toldAt"] = secondsSince1970(figure.toldAt);
        members["isCurrent"] = figure.isCurrent(now);
        members["stage"] = static_cast<int>(usageStage(percent));
        list.push_back(std::move(members));
    }
    if (list.empty())
        console.note(
            "usage: no agent has told of its limits; Claude Code does once `quorvik-island statusline "
            "install` is done");
    console.text(linesOf(figures, now, Screen::ofStandardOutput()));
    console.value(list);
    return console.exitStatus();
}

} // namespace quorvik::UsageCommand
