#include "QuorvikApp/Model/BarLine.h"

#include "QuorvikCore/Text/Markup.h"
#include "QuorvikCore/Text/Unicode.h"

namespace quorvik::BarLine {

namespace {

constexpr std::size_t textColumns = 60, tooltipColumns = 120, tooltipLines = 20;

/// The text as one line without control characters, cut to so many columns.
std::string fitted(std::string_view text, std::size_t columns) {
    const std::string line = Unicode::terminalLine(text);
    if (Unicode::columnCount(line) <= columns) return line;
    return std::string(Unicode::firstColumns(line, columns - 1)) + "…";
}

/// The text with `replacement` in place of every `found`.
std::string replaced(std::string_view text, std::string_view found, std::string_view replacement) {
    std::string result;
    for (std::size_t at; (at = text.find(found)) != text.npos; text.remove_prefix(at + found.size()))
        result.append(text.substr(0, at)).append(replacement);
    return result.append(text);
}

std::string itemLine(const SnapshotItem& item) {
    return std::string(mark(item.record->source)) + " " + std::string(rawValue(item.display)) + " " +
           itemLabel(*item.record);
}

std::string requestLine(const ApprovalRequest& request) {
    return std::string(mark(request.source)) + " asks " +
           (request.tool ? *request.tool + " " : std::string()) + request.summary.value_or("");
}

/// What the line says. A request whose session is not shown as awaiting goes before all items, so that
/// nothing hides it.
struct Summary {
    std::string text;  ///< empty: nothing is shown
    std::string state; ///< "awaiting", "failed"…, or "idle"
    bool needsAttention = false;
};

Summary summaryOf(const Snapshot& snapshot) {
    const std::size_t shown = snapshot.items().size();
    const bool isAwaiting = snapshot.primary && snapshot.primary->display == DisplayState::awaiting;
    std::size_t others = shown > 0 ? shown - 1 : 0;
    Summary summary{"", "idle", false};
    if (!snapshot.requests.empty() && !isAwaiting) {
        summary = {requestLine(snapshot.requests.front()->request),
                   std::string(rawValue(DisplayState::awaiting)), true};
        others = shown;
    } else if (snapshot.primary) {
        const SnapshotItem& item = *snapshot.primary;
        summary = {itemLine(item), std::string(rawValue(item.display)),
                   needsAttention(item.display) && !item.quiet};
    }
    const std::string count = others > 0 ? " +" + std::to_string(others) : "";
    summary.text = fitted(summary.text, textColumns - count.size()) + count;
    return summary;
}

/// A line for each item.
std::string tooltip(const Snapshot& snapshot) {
    const auto items = snapshot.items();
    std::string text;
    std::size_t count = 0;
    for (const SnapshotItem* item : items) {
        if (!text.empty()) text += '\r'; // Waybar's line break
        if (++count > tooltipLines) return text + std::to_string(items.size() - tooltipLines) + " more";
        std::string line = itemLine(*item);
        if (item->record->summary) line += ": " + *item->record->summary;
        text += markupEscaped(fitted(line, tooltipColumns));
    }
    return text;
}

} // namespace

std::string escaped(Format format, std::string_view line) {
    switch (format) {
    case Format::waybar: return markupEscaped(line);
    case Format::polybar:
        return replaced(line, "%{", "%\u2060{"); // it has no escape: a word joiner parts them
    case Format::tmux: {
        // At the end it would begin a format with what follows in the status line.
        const std::string escapedLine = replaced(line, "#", "##");
        return escapedLine.ends_with('#') ? escapedLine + " " : escapedLine;
    }
    case Format::i3blocks:   // JSON, and told to take no markup
    case Format::sketchybar: // an argument of its own, which is shown as it is
    case Format::plain: break;
    }
    return std::string(line);
}

std::string of(Format format, const Snapshot& snapshot) {
    const Summary summary = summaryOf(snapshot);
    const std::string text = escaped(format, summary.text);
    if (format == Format::waybar) {
        nlohmann::json classes = nlohmann::json::array({summary.state});
        if (summary.needsAttention) classes.push_back("attention");
        return printJSON(
            {{"text", text}, {"alt", summary.state}, {"class", classes}, {"tooltip", tooltip(snapshot)}});
    }
    if (format == Format::i3blocks)
        return printJSON({{"full_text", text},
                          {"short_text", summary.text.empty() ? "" : summary.state},
                          {"markup", "none"},
                          {"urgent", summary.needsAttention}});
    return text;
}

} // namespace quorvik::BarLine
