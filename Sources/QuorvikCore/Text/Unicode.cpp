#include "QuorvikCore/Text/Unicode.h"

#include "QuorvikCore/Platform/BlockSearch.h"

#include <utf8proc.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace quorvik::Unicode {

namespace {

constexpr char32_t replacementCharacter = 0xFFFD;

bool isASCII(char byte) {
    return static_cast<unsigned char>(byte) < 0x80;
}

utf8proc_category_t category(char32_t scalar) {
    return utf8proc_category(static_cast<utf8proc_int32_t>(scalar));
}

/// The length of a row of scalars of two and three bytes, some rare ones excepted.
std::size_t lengthOfUsual(const char* text, std::size_t size) {
    const auto isContinuation = [&](std::size_t at) {
        return (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
    };
    std::size_t length = 0;
    while (size - length >= 3) {
        const auto lead = static_cast<unsigned char>(text[length]);
        if (lead >= 0xC2 && lead <= 0xDF && isContinuation(length + 1))
            length += 2;
        else if (lead >= 0xE1 && lead <= 0xEC && isContinuation(length + 1) && isContinuation(length + 2))
            length += 3;
        else
            break;
    }
    return length;
}

/// The length of the part at the start that is UTF-8.
std::size_t validLength(std::string_view text) {
    const auto isOther = [](const char* c) { return Platform::blockAt(c) < 0; }; // than ASCII
    std::size_t length = 0;
    while (length < text.size()) {
        std::uint64_t eight = 0;
        if (length + sizeof eight <= text.size()) {
            std::memcpy(&eight, text.data() + length, sizeof eight);
            if ((eight & 0x8080808080808080) == 0) {
                length += sizeof eight;
                if (length % 64 < sizeof eight) // it may go on like this
                    length = Platform::firstPosition(text, length, 1, isOther);
                continue;
            }
        }
        length += lengthOfUsual(text.data() + length, text.size() - length);
        if (length == text.size()) break;
        const Scalar scalar = firstScalar(text.substr(length));
        if (!scalar.valid) break;
        length += scalar.length;
    }
    return length;
}

} // namespace

Scalar firstScalar(std::string_view text) {
    const auto byteAt = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char lead = byteAt(0);
    if (lead < 0x80) return {lead, 1, true};

    // Table 3-7 of the Unicode Standard: the second byte's range depends on the lead, the others are 80..BF.
    std::size_t length;
    unsigned char low = 0x80, high = 0xBF;
    char32_t value;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
        value = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        value = lead & 0x0F;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        value = lead & 0x07;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return {replacementCharacter, 1, false};
    }
    for (std::size_t index = 1; index < length; ++index) {
        if (index >= text.size() || byteAt(index) < low || byteAt(index) > high)
            return {replacementCharacter, index, false};
        value = (value << 6) | (byteAt(index) & 0x3F);
        low = 0x80;
        high = 0xBF;
    }
    return {value, length, true};
}

std::string repaired(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const std::size_t valid = validLength(text);
        result.append(text.substr(0, valid));
        text.remove_prefix(valid);
        if (text.empty()) break;
        append(result, replacementCharacter);
        text.remove_prefix(firstScalar(text).length);
    }
    return result;
}

bool isValid(std::string_view text) {
    return validLength(text) == text.size();
}

bool isPrintableASCII(std::string_view text) {
    // Eight bytes at once: the top bit of a byte tells that it is above 0x7E, or below 0x20.
    constexpr std::uint64_t each = 0x0101010101010101, top = each << 7;
    while (text.size() >= sizeof each) {
        std::uint64_t bytes;
        std::memcpy(&bytes, text.data(), sizeof bytes);
        if (((bytes | (bytes + each) | (bytes - 0x20 * each)) & top) != 0) return false;
        text.remove_prefix(sizeof bytes);
    }
    return std::ranges::all_of(text, [](unsigned char byte) { return byte >= 0x20 && byte < 0x7F; });
}

void append(std::string& text, char32_t scalar) {
    utf8proc_uint8_t bytes[4];
    const auto length = utf8proc_encode_char(static_cast<utf8proc_int32_t>(scalar), bytes);
    text.append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
}

Scalar takeLastScalar(std::string_view& text) {
    constexpr std::size_t longest = 4;
    std::size_t start = text.size() - 1;
    while (start > 0 && text.size() - start < longest &&
           (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80)
        --start;
    Scalar scalar = firstScalar(text.substr(start));
    // Continuation bytes that continue nothing stand for themselves.
    if (scalar.length < text.size() - start) scalar = {replacementCharacter, 1, false};
    text.remove_suffix(scalar.length);
    return scalar;
}

std::string_view takeCharacter(std::string_view& text) {
    std::size_t length = 0;
    if (isASCII(text[0]) && (text.size() == 1 || isASCII(text[1]))) {
        length = text[0] == '\r' && text.size() > 1 && text[1] == '\n' ? 2 : 1;
    } else {
        utf8proc_int32_t state = 0;
        Scalar scalar = firstScalar(text);
        for (;;) {
            length += scalar.length;
            if (length == text.size()) break;
            const Scalar next = firstScalar(text.substr(length));
            if (utf8proc_grapheme_break_stateful(static_cast<utf8proc_int32_t>(scalar.value),
                                                 static_cast<utf8proc_int32_t>(next.value), &state))
                break;
            scalar = next;
        }
    }
    const std::string_view character = text.substr(0, length);
    text.remove_prefix(length);
    return character;
}

std::size_t characterCount(std::string_view text, std::size_t limit) {
    std::size_t count = 0;
    for (; !text.empty() && count < limit; ++count)
        takeCharacter(text);
    return count;
}

std::string_view firstCharacters(std::string_view text, std::size_t count) {
    if (text.size() <= count) return text; // no character is shorter than a byte
    std::string_view rest = text;
    for (std::size_t taken = 0; taken < count && !rest.empty(); ++taken)
        takeCharacter(rest);
    return text.substr(0, text.size() - rest.size());
}

std::string_view lastCharacters(std::string_view text, std::size_t count) {
    if (text.size() <= count) return text;

    // ASCII characters can be counted backwards, if the byte before the cut is ASCII as well.
    std::size_t start = text.size(), taken = 0;
    while (start > 0 && taken < count && isASCII(text[start - 1])) {
        start -= start > 1 && text[start - 1] == '\n' && text[start - 2] == '\r' ? 2 : 1;
        ++taken;
    }
    if (start == 0 || (taken == count && isASCII(text[start - 1]))) return text.substr(start);

    const std::size_t total = characterCount(text);
    if (total <= count) return text;
    return text.substr(firstCharacters(text, total - count).size());
}

namespace {

/// A character is as wide as its scalars together, but no wider than two columns: the parts of a family
/// emoji, or of a flag, are drawn as one.
std::size_t columnsOf(std::string_view character) {
    constexpr char32_t emojiPresentation = 0xFE0F;
    constexpr std::size_t widest = 2;
    if (character.size() == 1 && isPrintableASCII(character)) return 1;
    std::size_t columns = 0;
    while (!character.empty()) {
        const Scalar scalar = firstScalar(character);
        if (scalar.value == emojiPresentation && columns > 0) return widest;
        columns += static_cast<std::size_t>(utf8proc_charwidth(static_cast<utf8proc_int32_t>(scalar.value)));
        character.remove_prefix(scalar.length);
    }
    return std::min(columns, widest);
}

} // namespace

std::string terminalLine(std::string_view text) {
    constexpr char32_t nonJoiner = 0x200C, joiner = 0x200D;
    if (isPrintableASCII(text)) return std::string(text);
    std::string line;
    while (!text.empty()) {
        const Scalar scalar = firstScalar(text);
        text.remove_prefix(scalar.length);
        if (isNewline(scalar.value) || category(scalar.value) == UTF8PROC_CATEGORY_CC)
            line += ' ';
        else if (!isControl(scalar.value) || scalar.value == nonJoiner || scalar.value == joiner)
            append(line, scalar.value);
    }
    return line;
}

std::size_t columnCount(std::string_view text) {
    if (isPrintableASCII(text)) return text.size();
    std::size_t columns = 0;
    while (!text.empty())
        columns += columnsOf(takeCharacter(text));
    return columns;
}

std::string_view firstColumns(std::string_view text, std::size_t columns) {
    std::string_view rest = text;
    while (!rest.empty()) {
        std::string_view next = rest;
        const std::size_t width = columnsOf(takeCharacter(next));
        if (width > columns) break;
        columns -= width;
        rest = next;
    }
    return text.substr(0, text.size() - rest.size());
}

bool isControl(char32_t scalar) {
    const auto kind = category(scalar);
    return kind == UTF8PROC_CATEGORY_CC || kind == UTF8PROC_CATEGORY_CF;
}

bool isNewline(char32_t scalar) {
    return (scalar >= 0x0A && scalar <= 0x0D) || scalar == 0x85 || scalar == 0x2028 || scalar == 0x2029;
}

bool isWhitespace(char32_t scalar) {
    return scalar == ' ' || scalar == '\t' || (scalar >= 0x80 && category(scalar) == UTF8PROC_CATEGORY_ZS);
}

bool isWhitespaceOrNewline(char32_t scalar) {
    return isWhitespace(scalar) || isNewline(scalar);
}

bool isPunctuation(char32_t scalar) {
    const auto kind = category(scalar);
    return kind >= UTF8PROC_CATEGORY_PC && kind <= UTF8PROC_CATEGORY_PO;
}

bool isLetter(char32_t scalar) {
    const auto kind = category(scalar);
    return kind >= UTF8PROC_CATEGORY_LU && kind <= UTF8PROC_CATEGORY_LO;
}

bool isDigit(char32_t scalar) {
    return category(scalar) == UTF8PROC_CATEGORY_ND;
}

bool isNumeric(char32_t scalar) {
    const auto kind = category(scalar);
    return kind >= UTF8PROC_CATEGORY_ND && kind <= UTF8PROC_CATEGORY_NO;
}

bool isMark(char32_t scalar) {
    const auto kind = category(scalar);
    return kind >= UTF8PROC_CATEGORY_MN && kind <= UTF8PROC_CATEGORY_ME;
}

bool isDrawnAlike(char32_t scalar) {
    const auto kind = category(scalar);
    return kind != UTF8PROC_CATEGORY_CN && kind != UTF8PROC_CATEGORY_CS && kind != UTF8PROC_CATEGORY_CO;
}

int digitValue(char32_t digit) {
    // Every script's ten digits are in one run of scalars, from zero to nine; runs that touch are complete.
    char32_t before = 0;
    while (isDigit(digit - before - 1))
        ++before;
    return static_cast<int>(before % 10);
}

std::string_view takeLine(std::string_view& text) {
    // No ASCII but \n, \v, \f and \r; the sign of a char differs between processors.
    const auto isInside = [](unsigned char byte) { return byte < 0x80 && (byte > '\r' || byte < '\n'); };
    for (std::string_view rest = text; !rest.empty();) {
        if (isInside(static_cast<unsigned char>(rest[0]))) {
            rest.remove_prefix(1);
            continue;
        }
        const Scalar scalar = firstScalar(rest);
        if (isNewline(scalar.value)) {
            const std::string_view line = text.substr(0, text.size() - rest.size());
            rest.remove_prefix(rest.starts_with("\r\n") ? 2 : scalar.length);
            text = rest;
            return line;
        }
        rest.remove_prefix(scalar.length);
    }
    return std::exchange(text, {});
}

std::string_view trimmed(std::string_view text, bool (*drop)(char32_t)) {
    while (!text.empty()) {
        const Scalar first = firstScalar(text);
        if (!drop(first.value)) break;
        text.remove_prefix(first.length);
        if (first.value < 0x80) // and the same one again
            text.remove_prefix(std::min(text.find_first_not_of(static_cast<char>(first.value)), text.size()));
    }
    for (std::string_view rest = text; !rest.empty(); text = rest) {
        const char last = rest.back();
        if (!drop(takeLastScalar(rest).value)) break;
        if (isASCII(last)) rest = rest.substr(0, rest.find_last_not_of(last) + 1);
    }
    return text;
}

std::string lowercased(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        if (isASCII(text.front())) {
            const char c = text.front();
            result += c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
            text.remove_prefix(1);
            continue;
        }
        const Scalar scalar = firstScalar(text);
        if (scalar.value == 0x130)
            result += "i\xCC\x87"; // the one lower-case mapping that is two scalars long (SpecialCasing.txt)
        else
            append(result,
                   static_cast<char32_t>(utf8proc_tolower(static_cast<utf8proc_int32_t>(scalar.value))));
        text.remove_prefix(scalar.length);
    }
    return result;
}

} // namespace quorvik::Unicode
