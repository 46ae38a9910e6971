#include "QuorvikCore/JSON/RawJSON.h"

#include "QuorvikCore/Platform/BlockSearch.h"

#include <algorithm>
#include <array>
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
                if (!std::all_of(cursor + 2, cursor + length, [](char c) { return hexDigits[byte(c)]; }))
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

std::optional<std::string> string(std::string_view value) {
    if (!value.starts_with('"')) return std::nullopt;
    const char* const end = value.data() + value.size();
    const char* const close = endOfRun(value.data() + 1, end);
    if (close + 1 == end && *close == '"') return std::string(value.data() + 1, close);
    const auto found = RawJSON::value(value);
    if (!found) return std::nullopt;
    return decoded(found->substr(1, found->size() - 2));
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
