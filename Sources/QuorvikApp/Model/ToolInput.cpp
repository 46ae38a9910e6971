#include "QuorvikApp/Model/ToolInput.h"

#include "QuorvikCore/JSON/OrderedJSON.h"
#include "QuorvikCore/JSON/RawJSON.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>

namespace quorvik::ToolInput {

namespace {

using Kind = CardLine::Kind;
using VisibleText::Range;
using Text = std::string_view;

void appendEscape(CardLine& line, Text escape) {
    line.escapes.push_back({line.text.size(), line.text.size() + escape.size()});
    line.text += escape;
}

void appendShown(CardLine& line, Text text) {
    // These signs mark what is hidden; where they stand in the text itself they are escaped.
    constexpr Text opening = "⟦", closing = "⟧";
    const auto append = [&](const VisibleText::Shown& shown) {
        const std::size_t offset = line.text.size();
        line.text += shown.text;
        for (const Range& range : shown.escapes)
            line.escapes.push_back({offset + range.begin, offset + range.end});
    };
    while (!text.empty()) {
        const std::size_t at = std::min(text.find(opening), text.find(closing));
        append(VisibleText::show(text.substr(0, at)));
        if (at == text.npos) return;
        const bool opens = text.substr(at).starts_with(opening);
        appendEscape(line, opens ? "\\u{27E6}" : "\\u{27E7}");
        text.remove_prefix(at + opening.size());
    }
}

constexpr std::size_t tabWidth = 4;

std::size_t tabsBefore(Text text) {
    return std::min(text.find_first_not_of('\t'), text.size());
}

/// The line as it looks, apart from blanks at its end.
std::string looksOf(Text line) {
    line = line.substr(0, line.find_last_not_of(' ') + 1);
    return std::string(tabWidth * tabsBefore(line), ' ') + std::string(line.substr(tabsBefore(line)));
}

bool isChange(Kind kind) {
    return kind == Kind::removed || kind == Kind::added;
}

/// A text's lines, without the empty one after a last line feed.
std::vector<Text> linesOf(Text text) {
    std::vector<Text> lines;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        lines.push_back(text.substr(0, end));
        text.remove_prefix(end == text.npos ? text.size() : end + 1);
    }
    return lines;
}

class Writer {
  public:
    explicit Writer(const RequestCard::SecretFinder& secrets) : secrets_(secrets) {}

    void text(Text text, Kind kind) {
        const std::vector<Range> secrets = secrets_ ? secrets_(text) : std::vector<Range>();
        std::size_t next = 0;
        for (const Text piece : linesOf(text)) {
            const auto begin = static_cast<std::size_t>(piece.data() - text.data());
            const std::size_t end = begin + piece.size();
            CardLine line{.kind = kind, .text = std::string(indent_, ' ')};
            std::size_t from = begin;
            if (!showsTabs_ || !isChange(kind)) { // they only indent
                from += tabsBefore(piece);
                line.text.append(tabWidth * (from - begin), ' ');
            }
            while (next < secrets.size() && secrets[next].begin < end) {
                if (secrets[next].end <= from) { // nothing but a line feed, or tabs
                    ++next;
                    continue;
                }
                const std::size_t start = std::max(secrets[next].begin, from);
                const std::size_t stop = std::max(std::min(secrets[next].end, end), start);
                appendShown(line, text.substr(from, start - from));
                const std::size_t offset = line.text.size();
                line.text += "⟦hidden, " + std::to_string(stop - start) + " bytes⟧";
                line.hidden.push_back({offset, line.text.size()});
                result_.hides = true;
                from = stop;
                if (secrets[next].end > end) break; // it goes on in the next line
                ++next;
            }
            const Text rest = text.substr(from, end - from);
            const std::size_t blanks = isChange(kind) ? rest.size() - (rest.find_last_not_of(' ') + 1) : 0;
            appendShown(line, rest.substr(0, rest.size() - blanks));
            for (std::size_t blank = 0; blank < blanks; ++blank)
                appendEscape(line, "\\x20");
            result_.lines.push_back(std::move(line));
        }
    }

    void member(Text key, const JSONValue& value) {
        // What is no plain name might look like another member, or like several.
        constexpr Text inNames = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-";
        const bool isPlain = !key.empty() && key.find_first_not_of(inNames) == key.npos;
        const std::string name = isPlain ? std::string(key) : RawJSON::encoded(key);
        const std::string* plain = value.stringValue();
        const bool isOneLine = plain && plain->find('\n') == plain->npos;
        if (!isOneLine && !value.isContainer() && !plain) {
            text(name + ": " + OrderedJSON::serialize(value), Kind::member);
        } else if (isOneLine) {
            text(name + ": " + *plain, Kind::member);
        } else {
            text(name + ":", Kind::member);
            indent_ = 2; // nor do its lines look like members
            plain ? text(*plain, Kind::text) : json(value);
            indent_ = 0;
        }
    }

    void json(const JSONValue& value) {
        constexpr std::size_t most =
            1'000'000; // bytes; nested without measure, a short input fills any screen
        const auto excerpt = OrderedJSON::serializeStart(value, most);
        if (excerpt.totalSize > excerpt.text.size()) result_.isWhole = false;
        text(excerpt.text, Kind::member);
    }

    /// The lines that both begin and end with are context.
    void edit(Text before, Text after) {
        const auto old = linesOf(before), fresh = linesOf(after);
        const auto prefix = static_cast<std::size_t>(std::ranges::mismatch(old, fresh).in1 - old.begin());
        std::size_t suffix = 0;
        while (suffix < std::min(old.size(), fresh.size()) - prefix &&
               old[old.size() - 1 - suffix] == fresh[fresh.size() - 1 - suffix])
            ++suffix;
        const auto part = [&](Text whole, const std::vector<Text>& lines, std::size_t from, std::size_t to,
                              Kind kind) {
            if (from == to) return;
            const std::size_t begin = static_cast<std::size_t>(lines[from].data() - whole.data());
            const std::size_t end =
                static_cast<std::size_t>(lines[to - 1].data() - whole.data()) + lines[to - 1].size();
            // linesOf() drops the empty line after a last line feed. A part may end with an empty line, so it
            // keeps the line feed behind it.
            text(whole.substr(begin, end - begin + (end < whole.size() ? 1 : 0)), kind);
        };
        std::map<std::string, Text> removed;
        for (std::size_t line = prefix; line < old.size() - suffix; ++line)
            removed.emplace(looksOf(old[line]), old[line]);
        showsTabs_ = false;
        for (std::size_t line = prefix; line < fresh.size() - suffix; ++line) {
            const auto same = removed.find(looksOf(fresh[line]));
            showsTabs_ = showsTabs_ || (same != removed.end() && same->second != fresh[line]);
        }
        part(before, old, 0, prefix, Kind::context);
        part(before, old, prefix, old.size() - suffix, Kind::removed);
        part(after, fresh, prefix, fresh.size() - suffix, Kind::added);
        part(before, old, old.size() - suffix, old.size(), Kind::context);
        if (before == after) note("nothing changes");
        showsTabs_ = false;
        const bool oldEnds = before.ends_with('\n'), freshEnds = after.ends_with('\n');
        if (oldEnds == freshEnds) return;
        note(oldEnds ? "the line feed at the end is removed" : "a line feed is added at the end");
    }

    void patch(Text text) {
        for (const Text line : linesOf(text)) {
            const char first = line.empty() ? ' ' : line.front();
            const bool isHeader = line.starts_with("***") || line.starts_with("@@");
            const Kind kind = isHeader ? Kind::member : first == '-' ? Kind::removed : Kind::added;
            if (!isHeader && first != '-' && first != '+')
                this->text(std::string(line) + "\n", Kind::context);
            else
                this->text(std::string(isHeader ? line : line.substr(1)) + "\n", kind);
        }
    }

    void note(Text text) { result_.lines.push_back({.kind = Kind::note, .text = std::string(text)}); }

    Lines take() { return std::move(result_); }

  private:
    const RequestCard::SecretFinder& secrets_;
    Lines result_;
    std::size_t indent_ = 0;
    bool showsTabs_ = false; ///< of removed and added lines
};

const std::string* textOf(const JSONValue& object, Text name) {
    const JSONValue* value = object[name];
    return value ? value->stringValue() : nullptr;
}

struct EditNames {
    Text before, after;
};
constexpr std::array<EditNames, 2> editNames = {{{"old_string", "new_string"}, {"old_str", "new_str"}}};

const EditNames* editIn(const JSONValue& object) {
    const auto found = std::ranges::find_if(editNames, [&](const EditNames& names) {
        return textOf(object, names.before) && textOf(object, names.after);
    });
    return found == editNames.end() ? nullptr : &*found;
}

/// Whether the object has the same name twice: agents might then mean another value than we do.
bool hasRepeatedNames(const JSONValue::Object& members) {
    std::set<Text> names;
    return std::ranges::any_of(members,
                               [&](const JSONMember& member) { return !names.insert(member.key).second; });
}

void members(Writer& writer, const JSONValue& object, std::initializer_list<Text> without) {
    for (const JSONMember& member : *object.objectValue())
        if (std::ranges::find(without, member.key) == without.end()) writer.member(member.key, member.value);
}

bool isEditList(const JSONValue* edits) {
    const auto* list = edits ? edits->arrayValue() : nullptr;
    return list && !list->empty() && std::ranges::all_of(*list, [](const JSONValue& edit) {
               return edit.objectValue() && !hasRepeatedNames(*edit.objectValue()) && editIn(edit);
           });
}

void edit(Writer& writer, const JSONValue& object, const EditNames& names) {
    members(writer, object, {names.before, names.after});
    writer.edit(*textOf(object, names.before), *textOf(object, names.after));
}

/// Lays out an object that has a form of its own; false when it has none.
bool layOut(Writer& writer, const JSONValue& object, Text tool) {
    if (hasRepeatedNames(*object.objectValue())) return false;
    for (const Text name : {"command", "input", "patch"}) {
        const std::string* command = textOf(object, name);
        if (!command) continue;
        const bool isPatchTool = tool == "apply_patch" || tool == "applypatch"; // others take it for a text
        if (isPatchTool && command->starts_with("*** Begin Patch"))
            writer.patch(*command);
        else if (name == "command")
            writer.text(*command, Kind::command);
        else
            continue;
        members(writer, object, {name});
        return true;
    }
    if (const EditNames* names = editIn(object)) {
        edit(writer, object, *names);
        return true;
    }
    if (isEditList(object["edits"])) {
        members(writer, object, {"edits"});
        std::size_t number = 0;
        for (const JSONValue& one : *object["edits"]->arrayValue()) {
            writer.note("edit " + std::to_string(++number));
            edit(writer, one, *editIn(one));
        }
        return true;
    }
    const bool namesFile =
        textOf(object, "file_path") || textOf(object, "path") || textOf(object, "notebook_path");
    for (const Text name : {"content", "file_text", "new_source"}) {
        const std::string* content = textOf(object, name);
        if (!namesFile || !content) continue;
        members(writer, object, {name});
        writer.text(*content, Kind::added);
        if (content->empty())
            writer.note("nothing: the file becomes empty");
        else if (!content->ends_with('\n'))
            writer.note("no line feed at the end");
        return true;
    }
    if (const std::string* plan = textOf(object, "plan")) {
        writer.text(*plan, Kind::text);
        members(writer, object, {"plan"});
        return true;
    }
    return false;
}

} // namespace

Lines text(std::string_view text, CardLine::Kind kind, const RequestCard::SecretFinder& secrets) {
    Writer writer(secrets);
    writer.text(text, kind);
    return writer.take();
}

Lines of(std::string_view json, std::string_view tool, const RequestCard::SecretFinder& secrets) {
    Writer writer(secrets);
    try {
        const JSONValue value = OrderedJSON::parse(json);
        if (!value.objectValue() || !layOut(writer, value, tool)) writer.json(value);
    } catch (const JSONParseError&) {
        writer.text(json, Kind::member);
    }
    return writer.take();
}

} // namespace quorvik::ToolInput
