#include "QuorvikCore/Text/VisibleText.h"

#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace quorvik::VisibleText {

namespace {

std::string hexadecimal(std::uint32_t value, std::size_t digits, std::string_view alphabet) {
    std::string text;
    for (; value != 0 || text.size() < digits; value >>= 4)
        text += alphabet[value & 0xF];
    std::ranges::reverse(text);
    return text;
}

std::string byteEscape(unsigned char byte) {
    return "\\x" + hexadecimal(byte, 2, "0123456789abcdef");
}

std::string scalarEscape(char32_t scalar) {
    switch (scalar) {
    case '\n': return "\\n";
    case '\t': return "\\t";
    case '\r': return "\\r";
    default: break;
    }
    if (scalar < 0x80) return byteEscape(static_cast<unsigned char>(scalar));
    return "\\u{" + hexadecimal(scalar, 4, "0123456789ABCDEF") + "}";
}

/// Letters, marks and symbols that draw nothing.
bool isInvisible(char32_t scalar) {
    struct Span {
        char32_t first, last;
    };
    constexpr Span spans[] = {
        {0x034F, 0x034F},                                                         // combining grapheme joiner
        {0x115F, 0x1160},                                                         // Hangul fillers
        {0x17B4, 0x17B5},                                                         // Khmer inherent vowels
        {0x180B, 0x180F},                                                         // Mongolian selectors
        {0xFFFC, 0xFFFC},                                                         // stands for an object
        {0x2800, 0x2800},                                                         // the blank Braille pattern
        {0x3164, 0x3164}, {0xFFA0, 0xFFA0}, {0xFE00, 0xFE0D}, {0xE0000, 0xE0FFF}, // tags and more selectors
    };
    return std::ranges::any_of(spans,
                               [&](const Span& span) { return scalar >= span.first && scalar <= span.last; });
}

bool isPresentationSelector(char32_t scalar) {
    return scalar == 0xFE0E || scalar == 0xFE0F;
}

/// Wherever it stands; a blank (U+0020) does not.
bool deceives(char32_t scalar) {
    return Unicode::isControl(scalar) || (scalar != ' ' && Unicode::isWhitespaceOrNewline(scalar)) ||
           isInvisible(scalar) || !Unicode::isDrawnAlike(scalar);
}

} // namespace

Shown show(std::string_view text) {
    if (Unicode::isPrintableASCII(text)) return {std::string(text), {}};
    constexpr int mostMarks = 3;
    constexpr char32_t firstSymbol = 0x2000; // no letter that a command is written with has a selector
    Shown result;
    char32_t previous = 0; // 0: nothing that a mark could stand on
    int marks = 0;         // on the character before
    const auto escape = [&](const std::string& written) {
        const std::size_t begin = result.text.size();
        result.text += written;
        if (!result.escapes.empty() && result.escapes.back().end == begin)
            result.escapes.back().end = result.text.size();
        else
            result.escapes.push_back({begin, result.text.size()});
        previous = 0;
    };
    while (!text.empty()) {
        const Unicode::Scalar scalar = Unicode::firstScalar(text);
        const std::string_view bytes = text.substr(0, scalar.length);
        text.remove_prefix(scalar.length);
        const char32_t value = scalar.value;
        if (!scalar.valid) {
            for (const char byte : bytes)
                escape(byteEscape(static_cast<unsigned char>(byte)));
        } else if (isPresentationSelector(value) && previous >= firstSymbol) {
            result.text += bytes;
        } else if (value == ' ' || (value > ' ' && value < 0x7F)) {
            result.text += bytes;
            previous = value;
            marks = 0;
        } else if (deceives(value) || isPresentationSelector(value)) {
            escape(scalarEscape(value));
        } else if (Unicode::isMark(value)) {
            if (previous == 0 || ++marks > mostMarks)
                escape(scalarEscape(value));
            else
                result.text += bytes;
        } else {
            result.text += bytes;
            previous = value;
            marks = 0;
        }
    }
    return result;
}

std::string shown(std::string_view text) {
    return show(text).text;
}

std::string json(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    const auto append = [&](std::uint32_t unit) {
        result += "\\u" + hexadecimal(unit, 4, "0123456789abcdef");
    };
    while (!text.empty()) {
        // Of ASCII only DEL needs an escape and has none: the others stand outside of strings, as line feeds.
        const auto special =
            std::ranges::find_if(text, [](char c) { return static_cast<unsigned char>(c) >= 0x7F; });
        result.append(text.begin(), special);
        text.remove_prefix(static_cast<std::size_t>(special - text.begin()));
        if (text.empty()) break;
        const Unicode::Scalar scalar = Unicode::firstScalar(text);
        const std::uint32_t value = scalar.valid ? scalar.value : 0xFFFD;
        if (!deceives(value)) {
            result += scalar.valid ? text.substr(0, scalar.length) : "\xEF\xBF\xBD";
        } else if (value < 0x10000) {
            append(value);
        } else {
            append(0xD800 + ((value - 0x10000) >> 10));
            append(0xDC00 + ((value - 0x10000) & 0x3FF));
        }
        text.remove_prefix(scalar.length);
    }
    return result;
}

} // namespace quorvik::VisibleText
