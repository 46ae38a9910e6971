#pragma once

#include "QuorvikCore/JSON/RawJSON.h"
#include "QuorvikCore/JSON/RawValue.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// Seconds since 1970-01-01 00:00 UTC, with fractions.
using Date = std::chrono::sys_time<std::chrono::duration<double>>;

inline double secondsSince1970(Date date) {
    return date.time_since_epoch().count();
}
inline Date dateFromSeconds(double seconds) {
    return Date(std::chrono::duration<double>(seconds));
}

/// A JSON text of our own making did not have the shape it must have; what() names the member.
class RecordError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The value of a JSON text; absent when the text is not JSON. A text with a NUL in it never is. Of members
/// with the same key the last one counts. Does not throw.
std::optional<nlohmann::json> parseJSON(std::string_view text);

/// The JSON text of a value, on one line, object members sorted by key; bytes that are not UTF-8 become
/// U+FFFD.
std::string printJSON(const nlohmann::json& value);

/// The values of JSON for RecordReader: each function returns the value as one type; null or absent when it
/// is of another type. There is one set of functions for nlohmann::json and one for RawJSON, which costs a
/// third of the time where a text is read once and thrown away.
namespace RecordAccess {

const nlohmann::json* member(const nlohmann::json& value, std::string_view key);
bool isObject(const nlohmann::json& value);
bool isNull(const nlohmann::json& value);
std::optional<std::string> text(const nlohmann::json& value);
std::optional<bool> boolean(const nlohmann::json& value);
std::optional<double> number(const nlohmann::json& value);        ///< finite
std::optional<std::int64_t> integer(const nlohmann::json& value); ///< written without fraction and exponent

const std::string_view* member(const RawJSON::Object& object, std::string_view key);
bool isObject(const RawJSON::Object& object);

// For RawJSON a value is its JSON text.
bool isNull(std::string_view value);
std::optional<std::string> text(std::string_view value);
std::optional<bool> boolean(std::string_view value);
std::optional<double> number(std::string_view value);
std::optional<std::int64_t> integer(std::string_view value);

template <typename T>
inline constexpr bool isList = false;
template <typename T>
inline constexpr bool isList<std::vector<T>> = true;

} // namespace RecordAccess

/// Reads the members of one JSON object into the fields of a record, strictly: a missing required member, a
/// wrong type, an integer out of range or an unknown raw value throws RecordError. `null` counts as missing.
/// Members that are not asked for are ignored.
///
/// Types: std::string, bool, integers (a number written without fraction or exponent), double and Date (any
/// number), enumerations with raw values, records (T::fromJSON), and lists of these.
template <typename Object>
class RecordReader {
  public:
    using Value = std::remove_pointer_t<decltype(RecordAccess::member(std::declval<const Object&>(), ""))>;

    /// Throws RecordError unless `object` is an object, which must outlive the reader.
    explicit RecordReader(const Object& object) : object_(object) {
        if (!RecordAccess::isObject(object)) throw RecordError("not an object");
    }

    /// The member itself; null when it is missing or `null`.
    Value* member(std::string_view key) const {
        Value* value = RecordAccess::member(object_, key);
        return value && !RecordAccess::isNull(*value) ? value : nullptr;
    }

    template <typename T>
    void required(std::string_view key, T& field) const {
        Value* value = member(key);
        if (!value) throw RecordError(std::string(key) + " is missing");
        read(key, *value, field);
    }

    template <typename T>
    void optional(std::string_view key, std::optional<T>& field) const {
        if (Value* value = member(key)) read(key, *value, field.emplace());
    }

  private:
    template <typename T>
    static void read(std::string_view key, Value& value, T& field) {
        if constexpr (std::is_same_v<T, std::string>) {
            field = *found(key, RecordAccess::text(value));
        } else if constexpr (std::is_same_v<T, bool>) {
            field = *found(key, RecordAccess::boolean(value));
        } else if constexpr (std::is_same_v<T, double>) {
            field = *found(key, RecordAccess::number(value));
        } else if constexpr (std::is_same_v<T, Date>) {
            field = dateFromSeconds(*found(key, RecordAccess::number(value)));
        } else if constexpr (RecordAccess::isList<T>) {
            if (!value.is_array()) wrongType(key);
            field.clear();
            for (Value& element : value)
                read(key, element, field.emplace_back());
        } else if constexpr (requires { T::fromJSON(value); }) {
            field = T::fromJSON(value);
        } else if constexpr (std::is_enum_v<T>) {
            const auto raw = found(key, RecordAccess::text(value));
            const auto known = fromRawValue<T>(*raw);
            if (!known) throw RecordError(std::string(key) + " has the unknown value " + *raw);
            field = *known;
        } else {
            const std::int64_t wide = *found(key, RecordAccess::integer(value));
            field = static_cast<T>(wide);
            if (field != wide) wrongType(key);
        }
    }

    template <typename Found>
    static Found found(std::string_view key, Found value) {
        if (!value) wrongType(key);
        return value;
    }
    [[noreturn]] static void wrongType(std::string_view key) {
        throw RecordError(std::string(key) + " has the wrong type");
    }

    const Object& object_;
};

/// A list of records (T::toJSON) as a JSON array.
template <typename T>
nlohmann::json listJSON(const std::vector<T>& records) {
    nlohmann::json list = nlohmann::json::array();
    for (const T& record : records)
        list.push_back(record.toJSON());
    return list;
}

/// Adds a member unless the field is absent.
template <typename T>
void writeOptional(nlohmann::json& object, const char* key, const std::optional<T>& field) {
    if (field) object[key] = *field;
}
inline void writeOptional(nlohmann::json& object, const char* key, const std::optional<Date>& field) {
    if (field) object[key] = secondsSince1970(*field);
}

} // namespace quorvik
