#include "QuorvikCore/Activity/GitConfig.h"

#include <algorithm>
#include <cctype>

namespace quorvik {

namespace {

bool isNameByte(char byte) {
    return std::isalnum(static_cast<unsigned char>(byte)) != 0 || byte == '-';
}

bool isBlank(char byte) {
    return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\v' || byte == '\f';
}

std::string lowered(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), [](char byte) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(byte)));
    });
    return lower;
}

/// Reads through the text, one byte at a time. CR LF is one line feed.
class Reader {
  public:
    explicit Reader(std::string_view text) : text_(text) {
        if (text_.starts_with("\xEF\xBB\xBF")) text_.remove_prefix(3);
    }

    bool atEnd() const { return text_.empty(); }
    char peek() const {
        if (text_.empty()) return '\n';
        return text_.starts_with("\r\n") ? '\n' : text_.front();
    }
    char take() {
        const char byte = peek();
        if (text_.starts_with("\r\n")) text_.remove_prefix(1);
        if (!text_.empty()) text_.remove_prefix(1);
        return byte;
    }
    void skipBlanks() {
        while (!atEnd() && isBlank(peek()))
            take();
    }
    void skipLine() {
        while (!atEnd() && take() != '\n') {
        }
    }
    std::string takeName() {
        std::string name;
        while (!atEnd() && isNameByte(peek()))
            name += take();
        return name;
    }

  private:
    std::string_view text_;
};

/// What stands between "[" and "]". False when it is no section.
bool takeSection(Reader& reader, std::string& section, std::optional<std::string>& subsection) {
    std::string name;
    while (!reader.atEnd() && (isNameByte(reader.peek()) || reader.peek() == '.'))
        name += reader.take();
    subsection.reset();
    if (reader.peek() == ']') {
        reader.take();
        // The old form, [branch.main]: in lower case, and without a dot in the first part.
        const std::size_t dot = name.find('.');
        if (dot != name.npos) subsection = lowered(name.substr(dot + 1));
        section = lowered(name.substr(0, dot));
        return !section.empty();
    }
    if (!isBlank(reader.peek())) return false;
    reader.skipBlanks();
    if (reader.take() != '"') return false;
    subsection.emplace();
    for (;;) {
        if (reader.peek() == '\n') return false;
        char byte = reader.take();
        if (byte == '"') break;
        if (byte == '\\') {
            if (reader.peek() == '\n') return false;
            byte = reader.take();
        }
        *subsection += byte;
    }
    section = lowered(name);
    return reader.take() == ']';
}

/// What stands behind "=", up to the line's end or a comment. False when it is not well formed.
bool takeValue(Reader& reader, std::string& value) {
    reader.skipBlanks();
    bool isQuoted = false;
    std::size_t trimmed = 0; // blanks at the end do not count, unless they are quoted
    while (!reader.atEnd()) {
        char byte = reader.take();
        if (byte == '\n') {
            if (isQuoted) return false;
            break;
        }
        if (!isQuoted && (byte == '#' || byte == ';')) {
            reader.skipLine();
            break;
        }
        if (byte == '"') {
            isQuoted = !isQuoted;
            trimmed = value.size();
            continue;
        }
        if (byte == '\\') {
            byte = reader.take();
            if (byte == '\n') continue; // the value goes on in the next line
            constexpr std::string_view letters = "tbn\\\"", meanings = "\t\b\n\\\"";
            const std::size_t at = letters.find(byte);
            if (at == letters.npos) return false;
            value += meanings[at];
            trimmed = value.size();
            continue;
        }
        value += byte;
        if (isQuoted || !isBlank(byte)) trimmed = value.size();
    }
    value.resize(trimmed);
    return !isQuoted;
}

} // namespace

GitConfig::GitConfig(std::string_view text) {
    Reader reader(text);
    std::string section;
    std::optional<std::string> subsection;
    while (!reader.atEnd()) {
        const char byte = reader.peek();
        if (byte == '\n' || isBlank(byte)) {
            reader.take();
        } else if (byte == '#' || byte == ';') {
            reader.skipLine();
        } else if (byte == '[') {
            reader.take();
            if (!takeSection(reader, section, subsection)) return;
        } else {
            Entry entry{section, subsection, lowered(reader.takeName()), "true"};
            if (entry.key.empty() || section.empty()) return;
            reader.skipBlanks();
            if (reader.peek() == '=') {
                reader.take();
                entry.value.clear();
                if (!takeValue(reader, entry.value)) return;
            } else if (reader.peek() == '#' || reader.peek() == ';') {
                reader.skipLine();
            } else if (reader.take() != '\n') {
                return;
            }
            entries_.push_back(std::move(entry));
        }
    }
}

std::vector<std::string> GitConfig::values(std::string_view section,
                                           std::optional<std::string_view> subsection,
                                           std::string_view key) const {
    std::vector<std::string> found;
    const std::string wantedSection = lowered(section), wantedKey = lowered(key);
    for (const Entry& entry : entries_)
        if (entry.key == wantedKey && entry.section == wantedSection &&
            entry.subsection.has_value() == subsection.has_value() &&
            (!subsection || *entry.subsection == *subsection))
            found.push_back(entry.value);
    return found;
}

std::optional<std::string> GitConfig::value(std::string_view section,
                                            std::optional<std::string_view> subsection,
                                            std::string_view key) const {
    auto found = values(section, subsection, key);
    if (found.empty()) return std::nullopt;
    return std::move(found.back());
}

bool GitConfig::includesOthers() const {
    return std::ranges::any_of(entries_, [](const Entry& entry) {
        return entry.key == "path" && (entry.section == "include" || entry.section == "includeif");
    });
}

} // namespace quorvik
