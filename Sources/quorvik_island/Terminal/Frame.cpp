#include "quorvik_island/Terminal/Frame.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

namespace quorvik {

std::string drawable(std::string_view text) {
    if (Unicode::isPrintableASCII(text)) return std::string(text);
    constexpr int mostMarks = 3;
    const std::string line = Unicode::terminalLine(text);
    std::string result;
    for (std::string_view rest = line; !rest.empty();) {
        std::string_view character = Unicode::takeCharacter(rest);
        const std::size_t first = Unicode::firstScalar(character).length;
        // A mark that stands alone would be drawn on whatever happens to be before it.
        if (Unicode::columnCount(character.substr(0, first)) == 0) continue;
        result += character.substr(0, first);
        character.remove_prefix(first);
        for (int marks = 0; !character.empty() && marks < mostMarks;) {
            const Unicode::Scalar next = Unicode::firstScalar(character);
            const std::string_view bytes = character.substr(0, next.length);
            character.remove_prefix(next.length);
            if (!Unicode::isMark(next.value) || Unicode::columnCount(bytes) != 0) continue;
            const bool selectsPresentation = next.value == 0xFE0E || next.value == 0xFE0F;
            if (selectsPresentation) continue; // terminals disagree about the width it gives
            result += bytes;
            ++marks;
        }
    }
    return result;
}

void RowWriter::append(std::string_view text, std::size_t columns, Style style) {
    if (columns == 0) return;
    const auto end = [&] { return static_cast<std::uint32_t>(row_.text.size()); };
    if (pending_ > 0) {
        row_.text.append(pending_, ' ');
        if (!row_.spans.empty() && row_.spans.back().style == Style::plain)
            row_.spans.back().end = end();
        else
            row_.spans.push_back({end(), Style::plain});
        left_ -= pending_;
        pending_ = 0;
    }
    row_.text += text;
    left_ -= columns;
    if (!row_.spans.empty() && row_.spans.back().style == style)
        row_.spans.back().end = end();
    else
        row_.spans.push_back({end(), style});
}

void RowWriter::add(std::string_view text, Style style, std::size_t width) {
    if (left_ <= pending_) {
        pending_ = left_; // full
        return;
    }
    const std::size_t room = std::min(left_ - pending_, width);
    if (room == 0) return;
    std::string made;
    std::size_t columns = text.size();
    if (!Unicode::isPrintableASCII(text)) {
        made = drawable(text);
        text = made;
        columns = Unicode::columnCount(text);
    }
    if (columns > room) {
        const std::string_view cut =
            columns == text.size() ? text.substr(0, room - 1) : Unicode::firstColumns(text, room - 1);
        columns = (columns == text.size() ? cut.size() : Unicode::columnCount(cut)) + 1;
        append(std::string(cut) + "…", columns, style);
    } else {
        append(text, columns, style);
    }
    if (width != unlimited) pending_ += width - columns;
}

void RowWriter::fillTo(std::size_t columns, std::string_view sign, Style style) {
    if (left() <= columns) return;
    const std::size_t count = left() - columns;
    std::string text;
    for (std::size_t index = 0; index < count; ++index)
        text += sign;
    append(text, count, style);
}

std::string Frame::text() const {
    std::string text;
    for (const FrameRow& row : rows) {
        const std::size_t end = row.text.find_last_not_of(' ');
        text.append(row.text, 0, end == std::string::npos ? 0 : end + 1);
        text += '\n';
    }
    return text;
}

} // namespace quorvik
