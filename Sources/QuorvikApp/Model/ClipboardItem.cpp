#include "QuorvikApp/Model/ClipboardItem.h"

#include "QuorvikCore/Clipboard/ClipboardClassifier.h"
#include "QuorvikCore/Clipboard/SecretName.h"
#include "QuorvikCore/Text/Unicode.h"

#include <cmath>
#include <cstdio>

namespace quorvik {

namespace {

template <typename... Cases>
struct Overloaded : Cases... {
    using Cases::operator()...;
};
template <typename... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

std::string counted(std::int64_t count, std::string_view what) {
    return std::to_string(count) + " " + std::string(what) + (count == 1 ? "" : "s");
}

/// "#aabbcc", or "#aabbcc80" when it is not opaque; and the same as CSS writes it with numbers.
std::string colourForms(const ColorAction& colour) {
    const auto byte = [](double part) { return static_cast<unsigned>(std::lround(part * 255)); };
    const unsigned red = byte(colour.red), green = byte(colour.green), blue = byte(colour.blue);
    char text[128];
    if (colour.alpha >= 1)
        std::snprintf(text, sizeof text, "#%02x%02x%02x\nrgb(%u, %u, %u)", red, green, blue, red, green,
                      blue);
    else
        std::snprintf(text, sizeof text, "#%02x%02x%02x%02x\nrgba(%u, %u, %u, %.3g)", red, green, blue,
                      byte(colour.alpha), red, green, blue, colour.alpha);
    return text;
}

} // namespace

bool ClipboardItem::isOne(const SessionRecord& record) {
    return record.source == Source::git && record.tool == "Clipboard";
}

std::optional<ClipboardItem> ClipboardItem::of(std::string_view copied, Date now) {
    const auto action = ClipboardClassifier::classify(copied);
    if (!action) return std::nullopt;
    ClipboardItem item{SessionRecord(Source::git, "clipboard", "", now), std::nullopt, false};
    std::string title, summary;
    std::visit(Overloaded{[&](const TraceAction& trace) {
                              title = trace.exception;
                              summary = "stack trace";
                              if (trace.omittedFrames > 0)
                                  summary += ", " + counted(trace.omittedFrames, "frame") + " left out";
                              item.text = trace.cleaned;
                              item.canBeCopied = true;
                          },
                          [&](const JSONAction& json) {
                              title = json.isArray ? "JSON array" : "JSON object";
                              summary = counted(json.count, json.isArray ? "element" : "member");
                              item.text = json.formatted;
                              item.canBeCopied = json.droppedBytes == 0;
                              if (!item.canBeCopied)
                                  summary += ", the first " + std::to_string(json.formatted.size()) +
                                             " bytes of " +
                                             std::to_string(json.droppedBytes +
                                                            static_cast<std::int64_t>(json.formatted.size()));
                          },
                          [&](const ColorAction& colour) {
                              title = colour.original;
                              item.text = colourForms(colour);
                              summary = item.text->substr(item.text->find('\n') + 1);
                          },
                          [&](const SecretAction&) {
                              title = SecretName::of(Unicode::repaired(copied));
                              summary = "was copied; it is neither kept nor shown";
                          }},
               *action);
    item.record.state = SessionState::done;
    item.record.tool = "Clipboard";
    item.record.title = Unicode::terminalLine(title);
    item.record.summary = Unicode::terminalLine(summary);
    item.record.turnStartedAt = now;
    return item;
}

} // namespace quorvik
