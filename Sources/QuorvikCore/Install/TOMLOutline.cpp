#include "QuorvikCore/Install/TOMLOutline.h"

#include "QuorvikCore/JSON/RawJSON.h"

#include <algorithm>
#include <optional>

namespace quorvik::TOMLOutline {

namespace {

constexpr std::string_view bareKey = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_";

class Reader {
  public:
    explicit Reader(std::string_view text) : rest_(text) {}

    std::vector<Statement> read() {
        std::vector<Statement> found;
        while (!rest_.empty()) {
            if (auto next = statement()) found.push_back(std::move(*next));
            skipToLineEnd();
        }
        return found;
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
        if (rest_.starts_with('"') || rest_.starts_with('\'')) {
            const std::string text(quoted(rest_.substr(0, 1)));
            // The escapes are those of JSON.
            return text.starts_with('"') ? RawJSON::string(text) : text.substr(1, text.size() - 2);
        }
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

std::vector<Statement> statements(std::string_view text) {
    return Reader(text).read();
}

} // namespace quorvik::TOMLOutline
