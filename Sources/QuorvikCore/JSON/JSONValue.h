#pragma once

#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace quorvik {

struct JSONMember;

/// One value of a JSON document that belongs to somebody else: a user's settings file, of which we change a
/// few members and leave the rest as it was. Hence members stay in document order, repeated keys are all
/// kept, and a number is the text that was read, never converted. (Our own records have no such past:
/// nlohmann::json.)
///
///     JSONValue settings = OrderedJSON::parse(text);
///     settings.set({"statusLine", "type"}, JSONValue::string("command"));
///     if (const JSONValue* hooks = settings["hooks"]) ...
///
/// Values may be nested without limit: copying, comparing and destroying need heap in proportion to the
/// document but never deep stack. Pointers to parts of a value stay valid until the containing list or value
/// is changed.
class JSONValue {
  public:
    enum class Kind { object, array, string, number, boolean, null };
    using Object = std::vector<JSONMember>;
    using Array = std::vector<JSONValue>;
    /// Keys from a value down to one of its descendants, outermost first.
    using Path = std::span<const std::string_view>;

    /// A default value is null.
    JSONValue() noexcept;
    static JSONValue object();
    static JSONValue object(Object members);
    static JSONValue array(Array elements = {});
    /// `text` as it is meant, without quotes or escapes. UTF-8 is expected; other bytes are kept as they are.
    static JSONValue string(std::string text);
    /// `text` is printed as it is, so it has to be a JSON number already.
    static JSONValue number(std::string text);
    static JSONValue boolean(bool value);

    JSONValue(const JSONValue& other);
    /// A moved-from value keeps its kind and is empty, as its text or list is.
    JSONValue(JSONValue&& other) noexcept;
    /// By value, so that a value may be replaced by one of its own descendants.
    JSONValue& operator=(JSONValue other) noexcept;
    ~JSONValue();

    Kind kind() const { return static_cast<Kind>(storage.index()); }
    /// An object or an array, with or without children.
    bool isContainer() const { return kind() <= Kind::array; }
    bool isNull() const { return kind() == Kind::null; }

    /// The payload, for reading or changing in place; nullptr when the value is of another kind.
    const Object* objectValue() const { return std::get_if<Object>(&storage); }
    Object* objectValue() { return std::get_if<Object>(&storage); }
    const Array* arrayValue() const { return std::get_if<Array>(&storage); }
    Array* arrayValue() { return std::get_if<Array>(&storage); }
    const std::string* stringValue() const { return std::get_if<std::string>(&storage); }
    std::string* stringValue() { return std::get_if<std::string>(&storage); }
    const std::string* numberText() const;
    std::optional<bool> boolValue() const;

    /// The value of the first member with exactly this key; nullptr when there is none or this is not an
    /// object.
    const JSONValue* operator[](std::string_view key) const;
    JSONValue* operator[](std::string_view key);

    /// Replaces the value of the first member with this key where it stands, or appends a member when there
    /// is none; without a value removes that first member. Changes nothing when this is not an object.
    void setMember(std::string_view key, std::optional<JSONValue> value);

    /// Follows the keys; nullptr as soon as one leads nowhere. The empty path gives this value.
    const JSONValue* valueAt(Path path) const;
    const JSONValue* valueAt(std::initializer_list<std::string_view> path) const;
    JSONValue* valueAt(Path path);
    JSONValue* valueAt(std::initializer_list<std::string_view> path);

    /// setMember() at the end of a path. What stands in the way and is missing or no object becomes an empty
    /// object, even when the member is only to be removed. Changes nothing when the path is empty or this
    /// value itself is not an object.
    void set(Path path, std::optional<JSONValue> value);
    void set(std::initializer_list<std::string_view> path, std::optional<JSONValue> value);

    /// Equal in structure, in the order of members and in the text of numbers: 1 and 1.0 differ.
    friend bool operator==(const JSONValue& left, const JSONValue& right);

  private:
    struct Number {
        std::string text;
        bool operator==(const Number&) const = default;
    };
    /// The alternatives are in the order of Kind.
    using Storage = std::variant<Object, Array, std::string, Number, bool, std::monostate>;

    explicit JSONValue(Storage payload) noexcept;
    bool hasChildren() const;
    JSONValue& firstChild();
    JSONValue& lastChild();
    void removeLastChild();
    void dismantle() noexcept;

    Storage storage;
};

struct JSONMember {
    std::string key;
    JSONValue value;

    bool operator==(const JSONMember&) const = default;
};

} // namespace quorvik
