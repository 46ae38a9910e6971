#include "QuorvikCore/Usage/ClaudeUsage.h"

#include "QuorvikCore/JSON/RawJSON.h"
#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <algorithm>
#include <array>

namespace quorvik::ClaudeUsage {

namespace {

constexpr Date::duration confirmedAfter = std::chrono::minutes(1);
constexpr Date::duration surpassedFor = std::chrono::minutes(10);
/// Two answers of the account may differ that much about one reset.
constexpr Date::duration sameReset = std::chrono::minutes(1);

bool isBehind(const UsageWindow& told, const UsageWindow& kept) {
    if (told.resetsAt < kept.resetsAt - sameReset) return true;
    return told.resetsAt <= kept.resetsAt + sameReset && told.usedPercent < kept.usedPercent;
}

} // namespace

std::vector<UsageWindow> parse(std::string_view statusLineInput) {
    constexpr std::array<std::string_view, 1> wanted = {"rate_limits"};
    const auto outline = RawJSON::outline(statusLineInput, wanted, wanted);
    if (!outline) return {};
    const auto told = outline->inside.find("rate_limits");
    if (told == outline->inside.end()) return {};
    std::vector<UsageWindow> windows;
    for (const auto& [name, minutes] : limits) {
        const auto member = told->second.find(name);
        const auto object = member == told->second.end() ? std::nullopt : RawJSON::object(member->second);
        const std::string_view* const used = object ? (*object)["used_percentage"] : nullptr;
        const std::string_view* const resets = object ? (*object)["resets_at"] : nullptr;
        if (!used || !resets) continue;
        auto window = plausibleWindow("claude." + std::string(name), Source::claude, minutes,
                                      RecordAccess::number(*used).value_or(-1),
                                      RecordAccess::number(*resets).value_or(-1));
        if (window) windows.push_back(std::move(*window));
    }
    return windows;
}

std::optional<std::vector<UsageFigure>> updated(std::span<const UsageFigure> kept,
                                                std::span<const UsageWindow> told, Date now) {
    std::vector<UsageFigure> figures(kept.begin(), kept.end());
    bool isNew = false;
    for (const UsageWindow& window : told) {
        if (window.resetsAt <= now) continue;
        const auto known = std::ranges::find_if(
            figures, [&](const UsageFigure& figure) { return figure.window.id == window.id; });
        if (known == figures.end()) {
            figures.push_back({window, now});
            isNew = true;
            continue;
        }
        const Date::duration age = now - known->toldAt; // below zero after the clock was set back
        const bool stands = known->window == window ? age < confirmedAfter
                                                    : isBehind(window, known->window) && age < surpassedFor;
        if (stands && age >= Date::duration::zero()) continue;
        *known = {window, now};
        isNew = true;
    }
    return isNew ? std::optional(std::move(figures)) : std::nullopt;
}

std::filesystem::path file() {
    return QuorvikPaths::usageDirectory() / "claude.json";
}

void keep(std::string_view statusLineInput, Date now) {
    const auto told = parse(statusLineInput);
    if (told.empty()) return;
    try {
        const auto path = file();
        if (const auto figures = updated(UsageFigures::read(path), told, now))
            UsageFigures::write(path, *figures);
    } catch (const FileError&) {
        // A full disk, say: there is no file then, or an older one.
    }
}

std::vector<UsageFigure> read() {
    return UsageFigures::read(file());
}

} // namespace quorvik::ClaudeUsage
