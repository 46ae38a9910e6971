#include "QuorvikCore/JSON/OrderedJSON.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace quorvik {

namespace {

/// Takes a text piece by piece, keeps its start and counts the rest.
class Output {
  public:
    explicit Output(std::size_t limit_) : limit(limit_) {}

    void operator+=(std::string_view piece) {
        excerpt.text.append(piece.substr(0, room(piece.size())));
        excerpt.totalSize += piece.size();
    }
    void operator+=(char byte) { *this += std::string_view(&byte, 1); }

    void startLine(std::size_t level, std::string_view indent) {
        *this += '\n';
        const std::size_t width = level * indent.size();
        for (std::size_t left = room(width); left > 0; left -= std::min(left, indent.size()))
            excerpt.text.append(indent.substr(0, left));
        excerpt.totalSize += width;
    }

    void reserve(std::size_t size) { excerpt.text.reserve(size); }

    OrderedJSON::Excerpt take() { return std::move(excerpt); }

  private:
    std::size_t room(std::size_t wanted) const { return std::min(wanted, limit - excerpt.text.size()); }

    std::size_t limit;
    OrderedJSON::Excerpt excerpt;
};

void appendQuoted(Output& out, std::string_view text) {
    constexpr std::string_view special = "\"\\\b\f\n\r\t";
    constexpr std::string_view letters = "\"\\bfnrt";
    out += '"';
    const char* const end = text.data() + text.size();
    for (const char* cursor = text.data();; ++cursor) {
        const char* run = cursor;
        while (cursor != end && static_cast<unsigned char>(*cursor) >= 0x20 && *cursor != '"' &&
               *cursor != '\\')
            ++cursor;
        out += std::string_view(run, static_cast<std::size_t>(cursor - run));
        if (cursor == end) break;
        if (const std::size_t index = special.find(*cursor); index != special.npos) {
            out += '\\';
            out += letters[index];
        } else {
            out += *cursor < 0x10 ? "\\u000" : "\\u001";
            out += "0123456789abcdef"[*cursor & 0xF];
        }
    }
    out += '"';
}

class Printer {
  public:
    Printer(Output& output, std::string_view indentation) : out(output), indent(indentation) {}

    void print(const JSONValue& document) {
        printScalarOrOpen(document);
        while (!open.empty()) {
            Container& container = open.back();
            const JSONValue::Array* elements = container.value->arrayValue();
            const JSONValue::Object* members = container.value->objectValue();
            if (container.next == (elements ? elements->size() : members->size())) {
                open.pop_back();
                startLine();
                out += elements ? ']' : '}';
                continue;
            }
            if (container.next > 0) out += ',';
            startLine();
            const std::size_t index = container.next++;
            if (elements) {
                printScalarOrOpen((*elements)[index]);
            } else {
                appendQuoted(out, (*members)[index].key);
                out += ": ";
                printScalarOrOpen((*members)[index].value);
            }
        }
    }

  private:
    struct Container {
        const JSONValue* value;
        std::size_t next; // index of the child to print
    };

    void startLine() { out.startLine(open.size(), indent); }

    void printScalarOrOpen(const JSONValue& value) {
        switch (value.kind()) {
        case JSONValue::Kind::object:
            out += value.objectValue()->empty() ? "{}" : "{";
            if (!value.objectValue()->empty()) open.push_back({&value, 0});
            break;
        case JSONValue::Kind::array:
            out += value.arrayValue()->empty() ? "[]" : "[";
            if (!value.arrayValue()->empty()) open.push_back({&value, 0});
            break;
        case JSONValue::Kind::string: appendQuoted(out, *value.stringValue()); break;
        case JSONValue::Kind::number: out += *value.numberText(); break;
        case JSONValue::Kind::boolean: out += *value.boolValue() ? "true" : "false"; break;
        case JSONValue::Kind::null: out += "null"; break;
        }
    }

    Output& out;
    std::string_view indent;
    std::vector<Container> open;
};

/// The bytes of line feeds and indentation in the printed text.
std::size_t layoutSize(const JSONValue& document, std::size_t indentSize) {
    struct Nested {
        const JSONValue* value;
        std::size_t level;
    };
    std::size_t total = 0;
    std::vector<Nested> pending{{&document, 0}};
    while (!pending.empty()) {
        const auto [value, level] = pending.back();
        pending.pop_back();
        const auto visit = [&pending, level = level](const JSONValue& child) {
            if (child.isContainer()) pending.push_back({&child, level + 1});
        };
        std::size_t count = 0;
        if (const JSONValue::Array* elements = value->arrayValue()) {
            count = elements->size();
            for (const JSONValue& element : *elements)
                visit(element);
        } else if (const JSONValue::Object* members = value->objectValue()) {
            count = members->size();
            for (const JSONMember& member : *members)
                visit(member.value);
        }
        if (count > 0) total += count * (1 + (level + 1) * indentSize) + 1 + level * indentSize;
        if (total > OrderedJSON::maximumLayoutSize)
            throw std::length_error("JSON nested too deeply to be printed");
    }
    return total;
}

} // namespace

std::string OrderedJSON::serialize(const JSONValue& value, std::string_view indent) {
    Output out(std::string::npos);
    out.reserve(layoutSize(value, indent.size()));
    Printer(out, indent).print(value);
    return out.take().text;
}

OrderedJSON::Excerpt OrderedJSON::serializeStart(const JSONValue& value, std::size_t limit,
                                                 std::string_view indent) {
    Output out(limit);
    Printer(out, indent).print(value);
    return out.take();
}

} // namespace quorvik
