#include "QuorvikCore/Install/HookFormat.h"
#include "QuorvikCore/Install/TOMLOutline.h"
#include "QuorvikCore/JSON/RawJSON.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <vector>

namespace quorvik {

namespace {

using Status = HookInstaller::Status;

constexpr std::string_view startMarker = "# >>> quorvik hooks (managed, do not edit) >>>";
constexpr std::string_view endMarker = "# <<< quorvik hooks <<<";
constexpr std::string_view blanks = " \t";
constexpr std::string_view container = "hooks"; // what our tables are called

/// The line that begins at `start`, without its line feed.
std::string_view lineAt(std::string_view text, std::size_t start) {
    return text.substr(start, text.find('\n', start) - start);
}

std::size_t nextLine(std::string_view text, std::size_t start) {
    const std::size_t lineFeed = text.find('\n', start);
    return lineFeed == text.npos ? text.size() : lineFeed + 1;
}

/// Without the carriage return that some editors end every line with.
std::string_view withoutReturn(std::string_view line) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

/// A text taken apart.
struct Parts {
    std::string rest;                     ///< the text without our blocks: the user's
    std::vector<std::string_view> blocks; ///< the lines of each, markers included
};

/// An end marker closes the last start marker before it that is still open: what stands after an earlier one
/// may be the user's. Markers without a partner are the user's text as well.
///
/// A text that ends in a block without a final line feed had none before the block either (withBlock), so the
/// line feed before such a block goes as well; but not a CR LF, which an editor made of it and where a lone
/// CR must not be left behind.
Parts takeApart(std::string_view text) {
    struct Opening {
        std::size_t inText, inRest;
    };
    Parts parts;
    std::vector<Opening> open;
    for (std::size_t line = 0, next = 0; line < text.size(); line = next) {
        next = nextLine(text, line);
        const std::string_view content = withoutReturn(lineAt(text, line));
        if (content == startMarker) open.push_back({line, parts.rest.size()});
        if (content != endMarker || open.empty()) {
            parts.rest += text.substr(line, next - line);
            continue;
        }
        parts.blocks.push_back(text.substr(open.back().inText, next - open.back().inText));
        parts.rest.resize(open.back().inRest);
        open.pop_back();
    }
    const bool endsInBlock = !parts.blocks.empty() && parts.blocks.back().end() == text.end();
    if (endsInBlock && !text.ends_with('\n') && !parts.rest.ends_with("\r\n") && !parts.rest.empty())
        parts.rest.pop_back();
    return parts;
}

/// The text and the block after it. The result ends with a line feed if the text does, so that takeApart()
/// gives it back to the byte.
std::string withBlock(std::string text, std::string block) {
    if (!text.empty() && !text.ends_with('\n'))
        text += '\n';
    else
        block += '\n';
    return text + block;
}

/// Whether any line of the text is "hooks = …", whatever table or value it belongs to. Below a header it sets
/// another key, but is most likely meant for the agent.
bool hasHooksLine(std::string_view text) {
    for (std::size_t start = 0; start < text.size(); start = nextLine(text, start)) {
        std::string_view line = lineAt(text, start);
        const auto skipBlanks = [&] {
            line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
        };
        skipBlanks();
        if (!line.starts_with(container)) continue;
        line.remove_prefix(container.size());
        skipBlanks();
        if (line.starts_with('=')) return true;
    }
    return false;
}

/// Whether the root's "hooks" is anything but an array of tables, so that no table [[hooks]] can be added.
/// [hooks.x] and [[hooks.x]] belong to the last table of the array when there is one; otherwise they make
/// "hooks" a table.
bool setsHooksOtherwise(std::string_view text) {
    using Kind = TOMLOutline::Statement::Kind;
    bool inRoot = true, isArray = false;
    for (const auto& [kind, path, value] : TOMLOutline::statements(text)) {
        if (kind == Kind::key && !inRoot) continue;
        inRoot = kind == Kind::key;
        if (path.front() != container) continue;
        const bool isElement = kind == Kind::arrayOfTables && path.size() == 1;
        const bool isInElement = kind != Kind::key && path.size() > 1 && isArray;
        if (!isElement && !isInElement) return true;
        isArray = true;
    }
    return false;
}

std::string assignment(std::string_view key, std::string_view value) {
    std::string line = std::string(key) + " = \"";
    for (const char byte : value) {
        if (byte == '"' || byte == '\\') line += '\\';
        line += byte;
    }
    return line + "\"";
}

/// The value of a line that assignment() made for the key.
std::optional<std::string> assigned(std::string_view key, std::string_view line) {
    const std::string before = std::string(key) + " = ";
    if (!line.starts_with(before)) return std::nullopt;
    return RawJSON::string(line.substr(before.size())); // the escapes are those of JSON
}

class KimiHookFormat : public HookFormat {
  public:
    Status::Kind status(const HookTarget& target, const std::string& text,
                        const std::string& hookPath) const override {
        requireUTF8(text);
        const Parts parts = takeApart(text);
        if (parts.blocks.empty()) return Status::Kind::notInstalled;
        const std::string command = assignment("command", HookInstaller::command(target.source, hookPath));
        std::set<std::string_view> lines;
        bool hasCurrent = false, hasOther = false;
        const std::string_view block = parts.blocks.front();
        for (std::size_t line = 0; line < block.size(); line = nextLine(block, line)) {
            const std::string_view content = withoutReturn(lineAt(block, line));
            lines.insert(content);
            if (content.starts_with("command = ")) (content == command ? hasCurrent : hasOther) = true;
        }
        const bool hasEvents = std::ranges::all_of(target.events, [&](const std::string& event) {
            return lines.contains(assignment("event", event));
        });
        // A second block would run everything twice.
        const bool isOnly = parts.blocks.size() == 1;
        return hasCurrent && !hasOther && hasEvents && isOnly ? Status::Kind::installed : Status::Kind::stale;
    }

    std::vector<HookInstaller::Entry> entries(const HookTarget&, const std::string& text) const override {
        requireUTF8(text);
        std::vector<HookInstaller::Entry> found;
        for (const std::string_view block : takeApart(text).blocks) {
            std::string event;
            for (std::size_t line = 0; line < block.size(); line = nextLine(block, line)) {
                const std::string_view content = withoutReturn(lineAt(block, line));
                if (auto value = assigned("event", content)) event = std::move(*value);
                if (auto value = assigned("command", content)) found.push_back({event, std::move(*value)});
            }
        }
        return found;
    }

    std::string installed(const HookTarget& target, const Content& text,
                          const std::string& hookPath) const override {
        const std::string before = text.value_or("");
        requireUTF8(before);
        std::string rest = takeApart(before).rest;
        if (hasHooksLine(rest) || setsHooksOtherwise(rest))
            throw EditError(
                "config.toml already sets `hooks = …` inline; convert it to [[hooks]] tables first.");
        std::string block = std::string(startMarker) + "\n";
        for (const std::string& event : target.events) {
            block += "[[hooks]]\n" + assignment("event", event) + "\n";
            block += assignment("command", HookInstaller::command(target.source, hookPath)) + "\n";
            block += "timeout = " + std::to_string(target.timeout(event)) + "\n\n";
        }
        return withBlock(std::move(rest), block + std::string(endMarker));
    }

    UserFileEdit::Decision uninstalled(const HookTarget&, const std::string& text) const override {
        requireUTF8(text);
        Parts parts = takeApart(text);
        if (parts.blocks.empty()) return UserFileEdit::Decision::keep();
        return UserFileEdit::Decision::write(std::move(parts.rest));
    }
};

} // namespace

const HookFormat& kimiHookFormat() {
    static const KimiHookFormat format;
    return format;
}

} // namespace quorvik
