#include "QuorvikCore/Install/TOMLOutline.h"

#include "QuorvikCore/JSON/RawJSON.h"

#include <algorithm>
#include <optional>

namespace quorvik::TOMLOutline {

namespace {

constexpr std::string_view bareKey = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_";

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

/// The content of a string in one pair of quotes.
std::optional<std::string> unquoted(std::string_view text) {
    if (text.starts_with('"')) return RawJSON::string(text); // the escapes are those of JSON
    return std::string(text.substr(1, text.size() - 2));
}

class Reader {
  public:
    explicit Reader(std::string_view text) : rest_(text) {}

    std::vector<Statement> read() {
        std::vector<Statement> found;
        while (!rest_.empty()) {
            auto next = statement();
            const std::string_view value = rest_;
            skipToLineEnd();
            if (!next) continue;
            if (next->kind == Statement::Kind::key)
                next->value = trimmed(value.substr(0, value.size() - rest_.size()));
            found.push_back(std::move(*next));
        }
        return found;
    }

    /// The text that stands here in one pair of quotes; absent when there is none.
    std::optional<std::string> text() {
        const bool isText = rest_.starts_with('"') || rest_.starts_with('\'');
        if (!isText || rest_.starts_with(std::string(3, rest_.front()))) return std::nullopt;
        return unquoted(quoted(rest_.substr(0, 1)));
    }

  private:
    void skip(std::size_t count) { rest_.remove_prefix(std::min(count, rest_.size())); }

    void skipBlanks() { skip(rest_.find_first_not_of(" \t")); }

    bool take(std::string_view token) {
        if (!rest_.starts_with(token)) return false;
        skip(token.size());
        return true;
    }

    std::optional<Statement> statement() {
        skipBlanks();
        if (take("[[")) return statement(Statement::Kind::arrayOfTables, "]]");
        if (take("[")) return statement(Statement::Kind::table, "]");
        return statement(Statement::Kind::key, "=");
    }

    std::optional<Statement> statement(Statement::Kind kind, std::string_view end) {
        Statement statement{kind, {}};
        do {
            skipBlanks();
            auto part = keyPart();
            if (!part) return std::nullopt;
            statement.path.push_back(std::move(*part));
            skipBlanks();
        } while (take("."));
        if (!take(end)) return std::nullopt;
        return statement;
    }

    std::optional<std::string> keyPart() {
        if (rest_.starts_with('"') || rest_.starts_with('\'')) return unquoted(quoted(rest_.substr(0, 1)));
        const std::string part(rest_.substr(0, rest_.find_first_not_of(bareKey)));
        skip(part.size());
        return part.empty() ? std::nullopt : std::optional(part);
    }

    /// Skips the string that begins here with these quotes, and returns it with them. A string in one pair of
    /// quotes, not three, ends with its line at the latest.
    std::string_view quoted(std::string_view quotes) {
        const std::string_view start = rest_;
        const bool hasEscapes = quotes.front() == '"', isOneLine = quotes.size() == 1;
        skip(quotes.size());
        while (!rest_.empty() && !rest_.starts_with(quotes) && !(isOneLine && rest_.front() == '\n'))
            skip(hasEscapes && rest_.front() == '\\' ? 2 : 1);
        take(quotes);
        return start.substr(0, start.size() - rest_.size());
    }

    /// Skips what is left of a statement: its value, which may take several lines, and a comment.
    void skipToLineEnd() {
        for (int depth = 0; !rest_.empty();) {
            const char byte = rest_.front();
            if (byte == '#') {
                skip(rest_.find('\n'));
            } else if (byte == '"' || byte == '\'') {
                const bool isLong = rest_.starts_with(std::string(3, byte));
                quoted(rest_.substr(0, isLong ? 3 : 1));
            } else {
                skip(1);
                if (byte == '[' || byte == '{') ++depth;
                if (byte == ']' || byte == '}') --depth;
                if (byte == '\n' && depth <= 0) return;
            }
        }
    }

    std::string_view rest_;
};

} // namespace

std::optional<std::string> Statement::text() const {
    return Reader(value).text();
}

std::vector<Statement> statements(std::string_view text) {
    return Reader(text).read();
}

} // namespace quorvik::TOMLOutline
