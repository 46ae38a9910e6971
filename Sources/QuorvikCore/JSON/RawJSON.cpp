#include "QuorvikCore/JSON/RawJSON.h"

#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Platform/BlockSearch.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

namespace quorvik::RawJSON {

namespace {

using Platform::blockAt, Platform::blockSize, Platform::ByteBlock, Platform::isAny;

constexpr auto tableOf = [](std::string_view members) {
    std::array<bool, 256> table{};
    for (const char member : members)
        table[static_cast<unsigned char>(member)] = true;
    return table;
};
constexpr auto hexDigits = tableOf("0123456789abcdefABCDEF"), shortEscapes = tableOf("\"\\/bfnrt");
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

bool isWhitespace(char c) {
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

/// Whether a run of a string ends here: at its quote, at an escape, or at what must not be in it.
constexpr bool endsRun(char c) {
    return (static_cast<unsigned char>(c) < 0x20) | (c == '"') | (c == '\\');
}

/// endsRun() as a table, for pieces that are too short for vector instructions.
constexpr auto runEnds = [] {
    std::array<bool, 256> table{};
    for (std::size_t byte = 0; byte < table.size(); ++byte)
        table[byte] = endsRun(static_cast<char>(byte));
    return table;
}();

/// The first character from which endsRun(), else `end`. This is where large payloads spend their time.
const char* endOfRun(const char* cursor, const char* end) {
    constexpr std::ptrdiff_t usual = 16; // characters
    for (const char* const near = cursor + std::min(usual, end - cursor); cursor != near; ++cursor)
        if (runEnds[static_cast<unsigned char>(*cursor)]) return cursor;
    const std::string_view rest(cursor, static_cast<std::size_t>(end - cursor));
    return cursor + Platform::firstPosition(rest, 0, 1, [](const char* c) {
               const ByteBlock here = blockAt(c);
               return Platform::isBetween(here, 0, 0x1F) | (here == '"') | (here == '\\');
           });
}

/// "Yes" for the letters that may follow the backslash of an escape.
ByteBlock isEscapeLetter(ByteBlock c) {
    return (c == '"') | (c == '\\') | (c == '/') | (c == 'b') | (c == 'f') | (c == 'n') | (c == 'r') |
           (c == 't') | (c == 'u');
}

ByteBlock isHexDigit(ByteBlock c) {
    return Platform::isBetween(c, '0', '9') | Platform::isBetween(c | 0x20, 'a', 'f');
}

/// Moves over blocks of a string in which every escape is well-formed, and which hold neither the string's
/// end nor three backslashes in a row. Stops at the start of a character or escape. `cursor` must stand
/// behind an escape of the string, and not at the next one: then a backslash before it is the second one of a
/// pair. For strings with an escape every few characters.
const char* endOfEscapedBlocks(const char* cursor, const char* end) {
    constexpr std::ptrdiff_t longestEscape = 6;
    const char* const start = cursor;
    while (end - cursor >= blockSize + longestEscape) {
        const ByteBlock here = blockAt(cursor), before = blockAt(cursor - 1), after = blockAt(cursor + 1);
        const ByteBlock slash = here == '\\', slashBefore = before == '\\';
        const ByteBlock isEscape = slash & ~slashBefore;
        const ByteBlock isEscaped = slashBefore & (blockAt(cursor - 2) != '\\');
        const ByteBlock bad = Platform::isBetween(here, 0, 0x1F) | ((here == '"') & ~isEscaped) |
                              (isEscape & ~isEscapeLetter(after)) | (slash & slashBefore & (after == '\\'));
        if (isAny(bad)) break;
        const ByteBlock isUnicode = isEscape & (after == 'u');
        if (isAny(isUnicode) &&
            isAny(isUnicode & ~(isHexDigit(blockAt(cursor + 2)) & isHexDigit(blockAt(cursor + 3)) &
                                isHexDigit(blockAt(cursor + 4)) & isHexDigit(blockAt(cursor + 5)))))
            break;
        cursor += blockSize;
    }
    // Not in the middle of an escape. What follows "\u" and its digits is as good a start as any.
    return cursor != start && cursor[-1] == '\\' && cursor[-2] != '\\' ? cursor - 1 : cursor;
}

/// Moves over a JSON text. The skip functions stand at the first character of what they are named after and
/// return false, wherever they then are, when it is not there or misformed.
class Scanner {
  public:
    explicit Scanner(std::string_view text) : cursor(text.data()), end(cursor + text.size()) {}

    const char* position() const { return cursor; }
    bool isAtEnd() const { return cursor == end; }

    void skipWhitespace() {
        while (cursor != end && isWhitespace(*cursor))
            ++cursor;
    }

    bool isAt(char c) const { return cursor != end && *cursor == c; }

    bool skip(char c) {
        if (cursor == end || *cursor != c) return false;
        ++cursor;
        return true;
    }

    bool skipValue() {
        std::vector<bool> open; // the containers around the cursor, outermost first: whether it is an object
        for (;;) {
            if (cursor == end) return false;
            if (*cursor == '{' || *cursor == '[') {
                const bool isObject = *cursor++ == '{';
                skipWhitespace();
                if (!skip(isObject ? '}' : ']')) {
                    open.push_back(isObject);
                    if (isObject && !skipName()) return false;
                    continue;
                }
            } else if (!skipScalar()) {
                return false;
            }
            for (;; open.pop_back()) { // the containers that end with this value
                if (open.empty()) return true;
                skipWhitespace();
                if (skip(',')) break;
                if (!skip(open.back() ? '}' : ']')) return false;
            }
            skipWhitespace();
            if (open.back() && !skipName()) return false;
        }
    }

    bool skipString() {
        if (!skip('"')) return false;
        for (;;) {
            cursor = endOfRun(cursor, end);
            if (skip('"')) return true;
            if (!skipEscapes()) return false;
            cursor = endOfEscapedBlocks(cursor, end);
        }
    }

    /// One escape or more.
    bool skipEscapes() {
        do {
            if (end - cursor < 2 || *cursor != '\\') return false;
            std::ptrdiff_t length = 2;
            if (cursor[1] == 'u') {
                length = unicodeEscapeLength;
                if (end - cursor < length) return false;
                if (!(hexDigits[byte(cursor[2])] & hexDigits[byte(cursor[3])] & hexDigits[byte(cursor[4])] &
                      hexDigits[byte(cursor[5])]))
                    return false;
            } else {
                if (!shortEscapes[byte(cursor[1])]) return false;
            }
            cursor += length;
            if (!isAt('\\')) break;
            while (end - cursor >= blockSize && !isAny(blockAt(cursor) != blockAt(cursor - length)))
                cursor += blockSize - blockSize % length; // the same one over and over
        } while (isAt('\\'));
        return true;
    }

    /// A member's name, the colon and the white space around it.
    bool skipName() {
        if (!skipString()) return false;
        skipWhitespace();
        if (!skip(':')) return false;
        skipWhitespace();
        return true;
    }

  private:
    bool skipScalar() {
        switch (*cursor) {
        case '"': return skipString();
        case 't': return skipWord("true");
        case 'f': return skipWord("false");
        case 'n': return skipWord("null");
        default: return skipNumber();
        }
    }

    bool skipWord(std::string_view word) {
        if (!std::string_view(cursor, static_cast<std::size_t>(end - cursor)).starts_with(word)) return false;
        cursor += word.size();
        return true;
    }

    bool skipNumber() {
        skip('-');
        if (!skip('0') && !skipDigits()) return false;
        if (skip('.') && !skipDigits()) return false;
        if (skip('e') || skip('E')) {
            if (!skip('+')) skip('-');
            return skipDigits();
        }
        return true;
    }

    bool skipDigits() {
        const char* first = cursor;
        while (cursor != end && *cursor >= '0' && *cursor <= '9')
            ++cursor;
        return cursor != first;
    }

    const char* cursor;
    const char* end;
};

/// The text from `first` to where the scanner stands.
std::string_view taken(const char* first, const Scanner& scanner) {
    return {first, static_cast<std::size_t>(scanner.position() - first)};
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

std::optional<std::string_view> value(std::string_view text) {
    Scanner scanner(text);
    scanner.skipWhitespace();
    const char* first = scanner.position();
    if (!scanner.skipValue()) return std::nullopt;
    const std::string_view found = taken(first, scanner);
    scanner.skipWhitespace();
    if (!scanner.isAtEnd()) return std::nullopt;
    return found;
}

/// Reads the members of objects, and hands each to a function.
class MemberReader {
  public:
    using Member = Object::Member;

    explicit MemberReader(std::string_view text) : scanner(text) {}

    /// Reads the text, which must be one object. `onName` is called with each member's name before its value
    /// is read and returns whether members of that value, if it is an object, are to be read too; `onMember`
    /// gets each member, and whether it is one of the text's own, after those inside it.
    template <typename OnName, typename OnMember>
    bool read(OnName onName, OnMember onMember) {
        scanner.skipWhitespace();
        if (!readObject(true, onName, onMember)) return false;
        scanner.skipWhitespace();
        return scanner.isAtEnd();
    }

  private:
    template <typename OnName, typename OnMember>
    bool readObject(bool isOuter, OnName& onName, OnMember& onMember) {
        if (!scanner.skip('{')) return false;
        scanner.skipWhitespace();
        if (scanner.skip('}')) return true;
        do {
            scanner.skipWhitespace();
            Member member;
            if (!readName(member)) return false;
            const char* const first = scanner.position();
            const bool isOpened = isOuter && onName(member) && scanner.isAt('{');
            if (isOpened ? !readObject(false, onName, onMember) : !scanner.skipValue()) return false;
            member.value = taken(first, scanner);
            onMember(member, isOuter);
            scanner.skipWhitespace();
        } while (scanner.skip(','));
        return scanner.skip('}');
    }

    bool readName(Member& member) {
        const char* const quote = scanner.position();
        if (!scanner.skipString()) return false;
        member.name = taken(quote, scanner);
        member.name.remove_prefix(1);
        member.name.remove_suffix(1);
        member.hasEscapes = member.name.find('\\') != member.name.npos;
        scanner.skipWhitespace();
        if (!scanner.skip(':')) return false;
        scanner.skipWhitespace();
        return true;
    }

    Scanner scanner;
};

std::string Object::Member::plainName() const {
    if (!hasEscapes) return std::string(name);
    return *string({name.data() - 1, name.size() + 2});
}

bool Object::Member::hasName(std::string_view plain) const {
    if (hasEscapes) return plainName() == plain;
    // Names of one length differ in their first letters: that saves most comparisons.
    return name.size() == plain.size() && (plain.empty() || (name[0] == plain[0] && name == plain));
}

const std::string_view* Object::operator[](std::string_view name) const {
    const auto found = std::find_if(members_.rbegin(), members_.rend(),
                                    [&](const Member& member) { return member.hasName(name); });
    return found == members_.rend() ? nullptr : &found->value;
}

std::optional<Object> object(std::string_view text) {
    constexpr std::size_t usual = 32; // members
    Object found;
    found.members_.reserve(usual);
    MemberReader reader(text);
    const bool isObject = reader.read([](const auto&) { return false; },
                                      [&](const auto& member, bool) { found.members_.push_back(member); });
    if (!isObject) return std::nullopt;
    return found;
}

std::optional<MemberViews> members(std::string_view text) {
    MemberViews found;
    MemberReader reader(text);
    const bool isObject = reader.read(
        [](const auto&) { return false; },
        [&](const auto& member, bool) { found.insert_or_assign(member.plainName(), member.value); });
    if (!isObject) return std::nullopt;
    return found;
}

std::optional<Outline> outline(std::string_view text, std::span<const std::string_view> wanted,
                               std::span<const std::string_view> opened) {
    Outline found;
    MemberViews inside;
    const auto isIn = [](const auto& member, std::span<const std::string_view> names) {
        return std::ranges::any_of(names, [&](std::string_view name) { return member.hasName(name); });
    };
    MemberReader reader(text);
    const bool isObject = reader.read([&](const auto& member) { return isIn(member, opened); },
                                      [&](const auto& member, bool isOuter) {
                                          if (!isOuter) {
                                              inside.insert_or_assign(member.plainName(), member.value);
                                              return;
                                          }
                                          if (!isIn(member, wanted)) return inside.clear();
                                          const std::string name = member.plainName();
                                          found.members.insert_or_assign(name, member.value);
                                          found.inside.erase(name); // of an earlier member of that name
                                          if (isIn(member, opened) && member.value.starts_with('{'))
                                              found.inside[name] = std::exchange(inside, {});
                                      });
    if (!isObject) return std::nullopt;
    return found;
}

std::optional<std::vector<std::string_view>> elements(std::string_view text) {
    std::vector<std::string_view> found;
    Scanner scanner(text);
    scanner.skipWhitespace();
    if (!scanner.skip('[')) return std::nullopt;
    scanner.skipWhitespace();
    if (!scanner.skip(']')) {
        do {
            scanner.skipWhitespace();
            const char* const first = scanner.position();
            if (!scanner.skipValue()) return std::nullopt;
            found.push_back(taken(first, scanner));
            scanner.skipWhitespace();
        } while (scanner.skip(','));
        if (!scanner.skip(']')) return std::nullopt;
    }
    scanner.skipWhitespace();
    if (!scanner.isAtEnd()) return std::nullopt;
    return found;
}

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

std::optional<std::string> string(std::string_view value) {
    if (!value.starts_with('"')) return std::nullopt;
    const char* const end = value.data() + value.size();
    const char* const close = endOfRun(value.data() + 1, end);
    if (close + 1 == end && *close == '"') return std::string(value.data() + 1, close);
    const auto found = RawJSON::value(value);
    if (!found) return std::nullopt;
    return decoded(found->substr(1, found->size() - 2));
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

std::string compacted(std::string_view value) {
    std::string result;
    result.reserve(value.size());
    Scanner scanner(value);
    while (!scanner.isAtEnd()) {
        const char* first = scanner.position();
        if (*first == '"')
            scanner.skipString();
        else
            scanner.skip(*first);
        if (!isWhitespace(*first)) result += taken(first, scanner);
    }
    return result;
}

} // namespace quorvik::RawJSON
