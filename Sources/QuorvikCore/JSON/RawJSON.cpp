#include "QuorvikCore/JSON/RawJSON.h"

#include "QuorvikCore/JSON/OrderedJSON.h"
#include "QuorvikCore/JSON/RecordCoding.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <vector>

namespace quorvik::RawJSON {

namespace {

constexpr auto tableOf = [](std::string_view members) {
    std::array<bool, 256> table{};
    for (const char member : members)
        table[static_cast<unsigned char>(member)] = true;
    return table;
};
constexpr auto hexDigits = tableOf("0123456789abcdefABCDEF"), shortEscapes = tableOf("\"\\/bfnrt");
constexpr std::size_t unicodeEscapeLength = 6; // \uXXXX

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

/// The first character from which endsRun(), else `end`. The fixed length of the inner loop lets compilers
/// look at a block of characters with a few vector instructions: this is where large payloads spend their
/// time.
const char* endOfRun(const char* cursor, const char* end) {
    constexpr std::ptrdiff_t block = 32;
    if (cursor != end && runEnds[static_cast<unsigned char>(*cursor)])
        return cursor; // one escape after another
    while (end - cursor >= block) {
        unsigned char found = 0;
        for (std::ptrdiff_t i = 0; i < block; ++i)
            found = static_cast<unsigned char>(found | endsRun(cursor[i]));
        if (found) break;
        cursor += block;
    }
    while (cursor != end && !runEnds[static_cast<unsigned char>(*cursor)])
        ++cursor;
    return cursor;
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
            if (!skip('\\') || cursor == end) return false;
            const char letter = *cursor++;
            if (letter == 'u') {
                for (int digit = 0; digit < 4; ++digit, ++cursor)
                    if (cursor == end || !hexDigits[static_cast<unsigned char>(*cursor)]) return false;
            } else if (!shortEscapes[static_cast<unsigned char>(letter)]) {
                return false;
            }
        }
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

/// The 16 bits of the "\uXXXX" that `text` begins with; absent when it begins otherwise.
std::optional<unsigned> unicodeEscape(std::string_view text) {
    if (text.size() < unicodeEscapeLength || !text.starts_with("\\u")) return std::nullopt;
    unsigned unit = 0;
    std::from_chars(text.data() + 2, text.data() + unicodeEscapeLength, unit, 16);
    return unit;
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

std::string Object::nameOf(const Member& member) {
    if (!member.hasEscapes) return std::string(member.name);
    return *string({member.name.data() - 1, member.name.size() + 2});
}

const std::string_view* Object::operator[](std::string_view name) const {
    const auto found = std::find_if(members_.rbegin(), members_.rend(), [&](const Member& member) {
        if (member.hasEscapes) return nameOf(member) == name;
        // Names of one length differ in their first letters: that saves most comparisons.
        return member.name.size() == name.size() &&
               (name.empty() || (member.name[0] == name[0] && member.name == name));
    });
    return found == members_.rend() ? nullptr : &found->value;
}

std::optional<Object> object(std::string_view text) {
    constexpr std::size_t usual = 32; // members
    Object found;
    Scanner scanner(text);
    scanner.skipWhitespace();
    if (!scanner.skip('{')) return std::nullopt;
    scanner.skipWhitespace();
    if (!scanner.skip('}')) {
        found.members_.reserve(usual);
        do {
            scanner.skipWhitespace();
            const char* const quote = scanner.position();
            if (!scanner.skipString()) return std::nullopt;
            std::string_view name = taken(quote, scanner);
            name.remove_prefix(1);
            name.remove_suffix(1);
            scanner.skipWhitespace();
            if (!scanner.skip(':')) return std::nullopt;
            scanner.skipWhitespace();
            const char* const valueStart = scanner.position();
            if (!scanner.skipValue()) return std::nullopt;
            found.members_.push_back({name, name.find('\\') != name.npos, taken(valueStart, scanner)});
            scanner.skipWhitespace();
        } while (scanner.skip(','));
        if (!scanner.skip('}')) return std::nullopt;
    }
    scanner.skipWhitespace();
    if (!scanner.isAtEnd()) return std::nullopt;
    return found;
}

std::optional<Members> members(std::string_view text, std::span<const std::string_view> wanted) {
    const auto whole = object(text);
    if (!whole) return std::nullopt;
    Members found;
    for (const Object::Member& member : whole->members_) {
        std::string name = Object::nameOf(member);
        if (wanted.empty() || std::find(wanted.begin(), wanted.end(), name) != wanted.end())
            found.insert_or_assign(std::move(name), member.value);
    }
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
    if (!RawJSON::value(value)) return std::nullopt;
    JSONValue parsed = OrderedJSON::parse(value);
    return std::move(*parsed.stringValue());
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
                const bool isHigh = *unit >= 0xD800 && *unit <= 0xDBFF;
                const bool isPair = isHigh && next && *next >= 0xDC00 && *next <= 0xDFFF;
                length = isPair ? pairLength : unicodeEscapeLength;
                if (!isPair && *unit >= 0xD800 && *unit <= 0xDFFF) {
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
