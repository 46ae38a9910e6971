#include "QuorvikCore/JSON/RawJSON.h"
#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Platform/ByteBlock.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace quorvik::RawJSON {

namespace {

using Platform::blockAt, Platform::blockSize, Platform::isAny;

constexpr std::ptrdiff_t unicodeEscapeLength = 6; // \uXXXX

/// What an escape's letter means.
constexpr auto meanings = [] {
    std::array<char, 256> table{};
    constexpr std::string_view letters = "\"\\/bfnrt", meant = "\"\\/\b\f\n\r\t";
    for (std::size_t index = 0; index < letters.size(); ++index)
        table[static_cast<unsigned char>(letters[index])] = meant[index];
    return table;
}();

/// The values of hexadecimal digits.
constexpr auto digitValues = [] {
    std::array<unsigned char, 256> table{};
    for (unsigned char value = 0; value < 16; ++value) {
        table[static_cast<unsigned char>("0123456789abcdef"[value])] = value;
        table[static_cast<unsigned char>("0123456789ABCDEF"[value])] = value;
    }
    return table;
}();

constexpr std::size_t byte(char c) {
    return static_cast<unsigned char>(c);
}

bool isHighHalf(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowHalf(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// The 16 bits of the well-formed "\uXXXX" that stands there.
char32_t unitAt(const char* escape) {
    return char32_t(digitValues[byte(escape[2])]) << 12 | char32_t(digitValues[byte(escape[3])]) << 8 |
           char32_t(digitValues[byte(escape[4])]) << 4 | char32_t(digitValues[byte(escape[5])]);
}

/// The 16 bits of the "\uXXXX" that `text` begins with; absent when it begins otherwise.
std::optional<char32_t> unicodeEscape(std::string_view text) {
    if (text.size() < unicodeEscapeLength || !text.starts_with("\\u")) return std::nullopt;
    return unitAt(text.data());
}

/// How many of the 8 bytes, in the order in which memory has them, come before the first `wanted`.
std::size_t runBefore(std::uint64_t bytes, char wanted) {
    static_assert(std::endian::native == std::endian::little);
    constexpr std::uint64_t ones = 0x0101010101010101, tops = ones << 7;
    bytes ^= ones * byte(wanted);
    return static_cast<std::size_t>(std::countr_zero((bytes - ones) & ~bytes & tops)) / 8;
}

/// The UTF-8 of a scalar, written at `out`; returns the end.
char* writeUTF8(char32_t scalar, char* out) {
    const auto put = [&](char32_t bits) { *out++ = static_cast<char>(bits); };
    if (scalar < 0x80) {
        put(scalar);
        return out;
    }
    if (scalar < 0x800) {
        put(0xC0 | scalar >> 6);
    } else {
        if (scalar < 0x10000) {
            put(0xE0 | scalar >> 12);
        } else {
            put(0xF0 | scalar >> 18);
            put(0x80 | (scalar >> 12 & 0x3F));
        }
        put(0x80 | (scalar >> 6 & 0x3F));
    }
    put(0x80 | (scalar & 0x3F));
    return out;
}

} // namespace

std::string decoded(std::string_view written) {
    constexpr std::size_t step = 8;
    constexpr char32_t replacement = 0xFFFD;
    if (written.find('\\') == written.npos) return std::string(written);
    std::string text(written.size(), '\0'); // no escape is shorter than what it means
    char* out = text.data();
    const char* from = written.data();
    const char* const end = from + written.size();
    while (from != end) {
        if (*from != '\\') {
            // Runs are short where escapes are many, so a few bytes are copied before the next one is looked
            // for. What is copied too far is written over.
            std::uint64_t bytes;
            if (end - from < static_cast<std::ptrdiff_t>(step)) {
                *out++ = *from++;
                continue;
            }
            std::memcpy(&bytes, from, step);
            std::memcpy(out, &bytes, step);
            const std::size_t run = runBefore(bytes, '\\');
            from += run;
            out += run;
            if (run < step) continue;
            const auto* const next =
                static_cast<const char*>(std::memchr(from, '\\', static_cast<std::size_t>(end - from)));
            const std::size_t rest = static_cast<std::size_t>((next ? next : end) - from);
            std::memcpy(out, from, rest);
            from += rest;
            out += rest;
            continue;
        }
        if (from[1] != 'u') {
            *out++ = meanings[byte(from[1])];
            from += 2;
            continue;
        }
        char32_t scalar = unitAt(from);
        from += unicodeEscapeLength;
        if (isHighHalf(scalar) && end - from >= unicodeEscapeLength && from[0] == '\\' && from[1] == 'u' &&
            isLowHalf(unitAt(from))) {
            scalar = 0x10000 + ((scalar - 0xD800) << 10) + (unitAt(from) - 0xDC00);
            from += unicodeEscapeLength;
        } else if (isHighHalf(scalar) || isLowHalf(scalar)) {
            scalar = replacement;
        }
        out = writeUTF8(scalar, out);
    }
    text.resize(static_cast<std::size_t>(out - text.data()));
    return text;
}

LeadingBlanks leadingBlanks(std::string_view written) {
    const char* cursor = written.data();
    const char* const end = cursor + written.size();
    bool haveLineBreak = false;
    const auto skipOne = [&] {
        if (cursor != end && *cursor == ' ') {
            ++cursor;
            return true;
        }
        if (end - cursor < 2 || *cursor != '\\') return false;
        const char letter = cursor[1];
        if (letter != 't' && letter != 'n' && letter != 'r') return false;
        haveLineBreak = haveLineBreak || letter != 't';
        cursor += 2;
        return true;
    };
    while (skipOne()) {
        // The same over and over: what equals the characters two places before it, an escape or two spaces.
        constexpr std::ptrdiff_t period = 2;
        if (cursor - written.data() < period || (cursor[-1] == ' ' && cursor[-2] != ' ')) continue;
        while (end - cursor >= blockSize && !isAny(blockAt(cursor) != blockAt(cursor - period)))
            cursor += blockSize;
    }
    return {static_cast<std::size_t>(cursor - written.data()), haveLineBreak};
}

std::string encoded(std::string_view text) {
    return printJSON(text);
}

std::string withoutHalfSurrogates(std::string_view value) {
    constexpr std::size_t pairLength = 2 * unicodeEscapeLength;
    std::string result;
    result.reserve(value.size());
    while (!value.empty()) {
        std::size_t length = std::min(value.find('\\'), value.size());
        if (length == 0) {
            length = std::min<std::size_t>(2, value.size()); // any escape but the ones below
            if (const auto unit = unicodeEscape(value)) {
                const auto next = unicodeEscape(value.substr(unicodeEscapeLength));
                const bool isPair = isHighHalf(*unit) && next && isLowHalf(*next);
                length = isPair ? pairLength : unicodeEscapeLength;
                if (!isPair && (isHighHalf(*unit) || isLowHalf(*unit))) {
                    result += "\\ufffd";
                    value.remove_prefix(length);
                    continue;
                }
            }
        }
        result += value.substr(0, length);
        value.remove_prefix(length);
    }
    return result;
}

} // namespace quorvik::RawJSON
