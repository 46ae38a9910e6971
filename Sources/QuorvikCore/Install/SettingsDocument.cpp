#include "QuorvikCore/Install/SettingsDocument.h"

#include "QuorvikCore/Text/Unicode.h"

#include <stdexcept>

namespace quorvik {

SettingsDocument SettingsDocument::parse(const UserFileEdit::Content& content) {
    SettingsDocument document;
    if (!content) return document;
    document.endsWithLineFeed = content->ends_with('\n');
    if (Unicode::trimmed(*content, Unicode::isWhitespaceOrNewline).empty()) return document;
    document.root = OrderedJSON::parse(*content);
    if (document.root.kind() != JSONValue::Kind::object) throw EditError("not a JSON object");
    return document;
}

std::string SettingsDocument::print() const {
    try {
        std::string text = OrderedJSON::serialize(root);
        if (endsWithLineFeed) text += '\n';
        return text;
    } catch (const std::length_error&) {
        throw EditError("nested too deeply to be written back");
    }
}

} // namespace quorvik
