#include "QuorvikCore/Clipboard/ClipboardClassifier.h"

#include "QuorvikCore/Clipboard/BareCredential.h"
#include "QuorvikCore/Clipboard/ColorLiteral.h"
#include "QuorvikCore/Clipboard/SecretScanner.h"
#include "QuorvikCore/Clipboard/StackTrace.h"
#include "QuorvikCore/JSON/OrderedJSON.h"
#include "QuorvikCore/Text/Unicode.h"

namespace quorvik::ClipboardClassifier {

namespace {

std::optional<ClipboardAction> classifyTrimmed(std::string_view text) {
    if (text.empty()) return std::nullopt;
    if (SecretScanner::containsSecret(text) || BareCredential::isCardNumber(text) ||
        BareCredential::isLongToken(text))
        return SecretAction{};
    if (auto trace = StackTrace::tidyTrace(text)) return std::move(*trace);
    if (auto json = formatJSON(text)) return std::move(*json);
    if (auto color = ColorLiteral::parseColor(text)) return std::move(*color);
    return std::nullopt;
}

} // namespace

std::optional<ClipboardAction> classify(std::string_view text) {
    if (text.size() > maxBytes) return std::nullopt;
    const auto trimmed = [](std::string_view whole) {
        return Unicode::trimmed(whole, Unicode::isWhitespaceOrNewline);
    };
    if (Unicode::isValid(text)) return classifyTrimmed(trimmed(text));
    const std::string repaired = Unicode::repaired(text);
    if (repaired.size() > maxBytes) return std::nullopt;
    return classifyTrimmed(trimmed(repaired));
}

std::optional<JSONAction> formatJSON(std::string_view text) {
    constexpr std::size_t shortest = 41;
    if (!text.starts_with('{') && !text.starts_with('[')) return std::nullopt;
    if (Unicode::characterCount(text, shortest) < shortest) return std::nullopt;
    JSONValue document;
    try {
        document = OrderedJSON::parse(text);
    } catch (const JSONParseError&) {
        return std::nullopt;
    }
    const auto excerpt = OrderedJSON::serializeStart(document, jsonLimit);
    const auto* elements = document.arrayValue();
    JSONAction action;
    action.isArray = elements != nullptr;
    action.count = static_cast<std::int64_t>(elements ? elements->size() : document.objectValue()->size());
    action.formatted = Unicode::repaired(excerpt.text);
    action.droppedBytes =
        static_cast<std::int64_t>(excerpt.totalSize) - static_cast<std::int64_t>(action.formatted.size());
    return action;
}

} // namespace quorvik::ClipboardClassifier
