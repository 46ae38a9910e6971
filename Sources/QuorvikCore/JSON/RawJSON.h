#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// JSON that is looked at instead of built: a text is checked against the grammar of RFC 8259 and taken apart
/// one level at a time, and what nobody asks for costs one fast pass over its bytes. For payloads of a
/// megabyte of which a few short members matter, and for parts that are handed on exactly as they came (1.50
/// stays 1.50).
///
/// How deep a text is nested costs one bit of heap per level and no stack. Strings may hold bytes that are
/// not UTF-8 and escaped halves of surrogate pairs; everything else that the grammar forbids is refused,
/// control characters in strings included. Never throws.
namespace quorvik::RawJSON {

/// The members of an object: each name, with its escapes undone, and the JSON text of its value.
using Members = std::map<std::string, std::string, std::less<>>;

/// Members whose values are parts of the text that was taken apart, which must outlive them.
using MemberViews = std::map<std::string, std::string_view, std::less<>>;

/// The one value of a JSON text, without the white space around it; absent when the text is not JSON.
std::optional<std::string_view> value(std::string_view text);

/// An object taken apart: its members in document order, as parts of its text, which must outlive it. For
/// many small texts of which most is wanted: nothing is copied before it is asked for.
class Object {
  public:
    /// The JSON text of the value of the member with this name; null when there is none. Of members with the
    /// same name the last one counts.
    const std::string_view* operator[](std::string_view name) const;

  private:
    friend std::optional<Object> object(std::string_view text);
    struct Member {
        std::string_view name; ///< without its quotes; as written
        bool hasEscapes;       ///< in its name
        std::string_view value;

        std::string plainName() const; ///< escapes undone
        bool hasName(std::string_view plain) const;
    };
    friend class MemberReader;

    std::vector<Member> members_;
};

/// Absent when the text is not JSON or not an object.
std::optional<Object> object(std::string_view text);

/// The members of a JSON text that is an object. Of members with the same name the last one counts. Absent
/// when the text is not JSON or not an object.
std::optional<MemberViews> members(std::string_view text);

/// Some members of an object, and what is in some of those.
struct Outline {
    MemberViews members;
    std::map<std::string, MemberViews, std::less<>> inside; ///< by the name of the member that is an object
};

/// In one pass over the text: those members of an object that are `wanted`, and the members of those among
/// them that are `opened` as well and objects themselves. Otherwise like members().
std::optional<Outline> outline(std::string_view text, std::span<const std::string_view> wanted,
                               std::span<const std::string_view> opened);

/// The JSON texts of the elements of an array, in order, as parts of its text. Absent when the text is not
/// JSON or not an array.
std::optional<std::vector<std::string_view>> elements(std::string_view text);

/// How many bytes at the start of a string, as it is written between its quotes, mean spaces, tabs, line
/// feeds and carriage returns. Those written as "\uXXXX" count as other characters.
struct LeadingBlanks {
    std::size_t length;
    bool haveLineBreak;
};
LeadingBlanks leadingBlanks(std::string_view written);

/// What a string means that is written like this between its quotes, a half surrogate as U+FFFD. Every escape
/// must be well-formed.
std::string decoded(std::string_view written);

/// What a JSON string means, escapes undone, a half surrogate as U+FFFD; absent when the value is anything
/// else.
std::optional<std::string> string(std::string_view value);

/// The JSON string that means `text`, quotes included. Bytes that are not UTF-8 become U+FFFD.
std::string encoded(std::string_view text);

// Both functions below take a JSON text as value() and members() give it: without white space around it.

/// The JSON text with every escaped half of a surrogate pair replaced by "\ufffd", so that strict readers
/// take it.
std::string withoutHalfSurrogates(std::string_view value);

/// The JSON text without white space between its tokens.
std::string compacted(std::string_view value);

} // namespace quorvik::RawJSON
