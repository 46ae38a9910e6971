#include "QuorvikCore/JSON/OrderedJSON.h"

#include "QuorvikCore/Platform/LargeMemory.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>
#include <vector>

namespace quorvik {

JSONParseError::JSONParseError(std::ptrdiff_t failedAt)
    : std::runtime_error("Invalid JSON near byte " + std::to_string(failedAt)), offset(failedAt) {}

namespace {

bool isDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

bool isNumberByte(char byte) {
    return isDigit(byte) || byte == '+' || byte == '-' || byte == '.' || byte == 'e' || byte == 'E';
}

/// Whether strtod() in the C locale would read all of a run of number bytes. Not asked itself, because it
/// follows the locale of the process and wants a terminated copy.
bool isNumber(std::string_view run) {
    const auto skipDigits = [&run] {
        const std::size_t count = std::min(run.find_first_not_of("0123456789"), run.size());
        run.remove_prefix(count);
        return count;
    };
    const auto skipSign = [&run] {
        if (!run.empty() && (run[0] == '+' || run[0] == '-')) run.remove_prefix(1);
    };
    skipSign();
    std::size_t digits = skipDigits();
    if (!run.empty() && run[0] == '.') {
        run.remove_prefix(1);
        digits += skipDigits();
    }
    if (digits == 0) return false;
    if (run.empty()) return true;
    if (run[0] != 'e' && run[0] != 'E') return false;
    run.remove_prefix(1);
    skipSign();
    return skipDigits() > 0 && run.empty();
}

void appendUTF8(std::string& text, std::uint32_t scalar) {
    const auto trailing = [](std::uint32_t bits) { return static_cast<char>(0x80 | (bits & 0x3F)); };
    if (scalar < 0x80) {
        text += static_cast<char>(scalar);
    } else if (scalar < 0x800) {
        text += static_cast<char>(0xC0 | scalar >> 6);
        text += trailing(scalar);
    } else if (scalar < 0x10000) {
        text += static_cast<char>(0xE0 | scalar >> 12);
        text += trailing(scalar >> 6);
        text += trailing(scalar);
    } else {
        text += static_cast<char>(0xF0 | scalar >> 18);
        text += trailing(scalar >> 12);
        text += trailing(scalar >> 6);
        text += trailing(scalar);
    }
}

/// Finished values wait on one stack, and finished keys on another, until the bracket that encloses them
/// closes and moves them into a list of exactly the right length.
class Parser {
  public:
    explicit Parser(std::string_view text) : start(text.data()), cursor(start), end(start + text.size()) {
        // Room for as many values as there may be, so that they need not move while the list grows.
        constexpr std::ptrdiff_t most = 1 << 20;
        const auto count = [&](char byte) { return std::count(start, end, byte); };
        values.reserve(static_cast<std::size_t>(std::min(count(',') + count('[') + count('{') + 1, most)));
        Platform::preferLargePages(values.data(), values.capacity() * sizeof(JSONValue));
    }

    JSONValue parseDocument() {
        skipWhitespace();
        do {
            if (parseValueOrOpening()) finishEnclosing();
        } while (!open.empty());
        if (cursor != end) fail(cursor);
        return std::move(values.back());
    }

  private:
    struct Container {
        std::size_t firstValue; // index in `values`
        bool isObject;
    };

    [[noreturn]] void fail(const char* at) const { throw JSONParseError(at - start); }

    bool isAt(char byte) const { return cursor != end && *cursor == byte; }

    void skipWhitespace() {
        while (cursor != end && (*cursor == ' ' || *cursor == '\t' || *cursor == '\n' || *cursor == '\r'))
            ++cursor;
    }

    /// True when a value is complete; false after an opening bracket, at the start of the first value inside.
    bool parseValueOrOpening() {
        if (cursor == end) fail(cursor);
        switch (*cursor) {
        case '{': return openContainer(true, '}');
        case '[': return openContainer(false, ']');
        case '"': return push(JSONValue::string(parseString()));
        case 't': return parseLiteral("true", JSONValue::boolean(true));
        case 'f': return parseLiteral("false", JSONValue::boolean(false));
        case 'n': return parseLiteral("null", JSONValue());
        default: return push(JSONValue::number(parseNumber()));
        }
    }

    bool push(JSONValue value) {
        values.push_back(std::move(value));
        return true;
    }

    bool openContainer(bool isObject, char closingBracket) {
        ++cursor;
        open.push_back({values.size(), isObject});
        skipWhitespace();
        if (isAt(closingBracket)) {
            close();
            return true;
        }
        if (isObject) parseKey();
        return false;
    }

    /// After a value: closes the containers that end here, up to a comma, and stops at the next value.
    void finishEnclosing() {
        for (;;) {
            skipWhitespace();
            if (open.empty()) return;
            const bool isObject = open.back().isObject;
            if (isAt(',')) {
                ++cursor;
                skipWhitespace();
                if (isObject) parseKey();
                return;
            }
            if (!isAt(isObject ? '}' : ']')) fail(cursor);
            close();
        }
    }

    void close() {
        ++cursor;
        const Container container = open.back();
        open.pop_back();
        const auto firstValue = values.begin() + static_cast<std::ptrdiff_t>(container.firstValue);
        if (container.isObject) {
            const auto firstKey = keys.end() - (values.end() - firstValue);
            JSONValue::Object members;
            members.reserve(values.size() - container.firstValue);
            for (auto [key, value] = std::pair(firstKey, firstValue); value != values.end(); ++key, ++value)
                members.push_back({std::move(*key), std::move(*value)});
            keys.erase(firstKey, keys.end());
            values.erase(firstValue, values.end());
            values.push_back(JSONValue::object(std::move(members)));
        } else if (container.firstValue == 0) {
            JSONValue::Array elements = std::exchange(values, {});
            values.push_back(JSONValue::array(std::move(elements)));
        } else if (values.size() == container.firstValue + 1) {
            JSONValue::Array elements;
            elements.push_back(std::move(values.back()));
            values.back() = JSONValue::array(std::move(elements));
        } else {
            JSONValue::Array elements(std::make_move_iterator(firstValue),
                                      std::make_move_iterator(values.end()));
            values.erase(firstValue, values.end());
            values.push_back(JSONValue::array(std::move(elements)));
        }
    }

    void parseKey() {
        if (!isAt('"')) fail(cursor);
        keys.push_back(parseString());
        skipWhitespace();
        if (!isAt(':')) fail(cursor);
        ++cursor;
        skipWhitespace();
    }

    bool parseLiteral(std::string_view literal, JSONValue value) {
        if (!std::string_view(cursor, static_cast<std::size_t>(end - cursor)).starts_with(literal))
            fail(cursor);
        cursor += literal.size();
        return push(std::move(value));
    }

    std::string parseNumber() {
        const char* first = cursor;
        cursor = std::find_if_not(first, end, isNumberByte);
        std::string run(first, cursor);
        if (!isNumber(run)) fail(cursor); // an empty run ends where it starts
        return run;
    }

    std::string parseString() {
        const char* opening = cursor++;
        std::string text;
        for (;;) {
            const char* run = cursor;
            while (cursor != end && *cursor != '"' && *cursor != '\\' && *cursor != '\0')
                ++cursor;
            text.append(run, cursor);
            if (cursor == end || *cursor == '\0') fail(opening);
            if (*cursor == '"') break;
            parseEscape(text);
        }
        ++cursor;
        return text;
    }

    void parseEscape(std::string& text) {
        constexpr std::string_view letters = "\"\\/bfnrt";
        constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
        const char* backslash = cursor++;
        if (cursor == end) fail(backslash);
        const char letter = *cursor++;
        const std::size_t index = letters.find(letter);
        if (index != letters.npos)
            text += meanings[index];
        else if (letter == 'u')
            appendUTF8(text, parseScalar(backslash));
        else
            fail(backslash);
    }

    /// After a "\u". Halves of a surrogate pair that have not found each other are U+FFFD.
    std::uint32_t parseScalar(const char* backslash) {
        constexpr std::uint32_t replacement = 0xFFFD;
        const std::uint32_t unit = parseHexUnit(backslash);
        if (unit < 0xD800 || unit > 0xDFFF) return unit;
        if (unit > 0xDBFF || end - cursor < 2 || cursor[0] != '\\' || cursor[1] != 'u') return replacement;

        const char* second = cursor;
        cursor += 2;
        const std::uint32_t low = parseHexUnit(second);
        if (low >= 0xDC00 && low <= 0xDFFF) return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
        cursor = second; // an escape of its own
        return replacement;
    }

    std::uint32_t parseHexUnit(const char* backslash) {
        std::uint32_t unit = 0;
        for (int i = 0; i < 4; ++i, ++cursor) {
            if (cursor == end) fail(backslash);
            const char lower = static_cast<char>(*cursor | 0x20); // leaves digits as they are
            if (isDigit(*cursor))
                unit = unit << 4 | static_cast<std::uint32_t>(*cursor - '0');
            else if (lower >= 'a' && lower <= 'f')
                unit = unit << 4 | static_cast<std::uint32_t>(lower - 'a' + 10);
            else
                fail(backslash);
        }
        return unit;
    }

    const char* start;
    const char* cursor;
    const char* end;
    std::vector<JSONValue> values;
    std::vector<std::string> keys;
    std::vector<Container> open;
};

} // namespace

JSONValue OrderedJSON::parse(std::string_view text) {
    return Parser(text).parseDocument();
}

} // namespace quorvik
