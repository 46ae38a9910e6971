#pragma once

#include "QuorvikCore/JSON/RawValue.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

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

/// The value of a JSON text; absent when the text is not JSON. Never throws on bad input. Of members with the
/// same key the last one counts.
std::optional<nlohmann::json> parseJSON(std::string_view text);

/// The JSON text of a value, on one line, object members sorted by key; bytes that are not UTF-8 become
/// U+FFFD.
std::string printJSON(const nlohmann::json& value);

/// Reads the members of one JSON object into the fields of a record, strictly: a missing required member, a
/// wrong type, an integer out of range or an unknown raw value throws RecordError. `null` counts as missing.
/// Members that are not asked for are ignored.
///
/// Types: std::string, bool, integers (a number written without fraction or exponent), double and Date (any
/// number), and enumerations with raw values.
class RecordReader {
  public:
    /// Throws RecordError unless `value` is an object, which must outlive the reader.
    explicit RecordReader(const nlohmann::json& value);

    template <typename T>
    void required(const char* key, T& field) const {
        const nlohmann::json* value = member(key);
        if (!value) throw RecordError(std::string(key) + " is missing");
        read(key, *value, field);
    }

    template <typename T>
    void optional(const char* key, std::optional<T>& field) const {
        if (const nlohmann::json* value = member(key)) read(key, *value, field.emplace());
    }

    /// The member itself; null when it is missing or `null`.
    const nlohmann::json* member(const char* key) const;

  private:
    [[noreturn]] static void wrongType(const char* key);

    static void read(const char* key, const nlohmann::json& value, std::string& field);
    static void read(const char* key, const nlohmann::json& value, bool& field);
    static void read(const char* key, const nlohmann::json& value, double& field);
    static void read(const char* key, const nlohmann::json& value, Date& field);
    static void read(const char* key, const nlohmann::json& value, std::int64_t& field);
    static void read(const char* key, const nlohmann::json& value, std::int32_t& field);

    template <typename E>
    requires std::is_enum_v<E>
    static void read(const char* key, const nlohmann::json& value, E& field) {
        std::string raw;
        read(key, value, raw);
        const auto known = fromRawValue<E>(raw);
        if (!known) throw RecordError(std::string(key) + " has the unknown value " + raw);
        field = *known;
    }

    const nlohmann::json& object_;
};

/// Adds a member unless the field is absent.
template <typename T>
void writeOptional(nlohmann::json& object, const char* key, const std::optional<T>& field) {
    if (field) object[key] = *field;
}
inline void writeOptional(nlohmann::json& object, const char* key, const std::optional<Date>& field) {
    if (field) object[key] = secondsSince1970(*field);
}

} // namespace quorvik
