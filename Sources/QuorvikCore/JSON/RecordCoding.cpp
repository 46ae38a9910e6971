#include "QuorvikCore/JSON/RecordCoding.h"

#include "QuorvikCore/Platform/DecimalNumber.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace quorvik {

std::optional<nlohmann::json> parseJSON(std::string_view text) {
    if (text.find('\0') != text.npos) return std::nullopt; // which the library takes for the end
    constexpr bool throwing = false;
    nlohmann::json value = nlohmann::json::parse(text, nullptr, throwing);
    if (value.is_discarded()) return std::nullopt;
    return value;
}

std::string printJSON(const nlohmann::json& value) {
    constexpr int onOneLine = -1;
    constexpr bool escapeNonASCII = false;
    return value.dump(onOneLine, ' ', escapeNonASCII, nlohmann::json::error_handler_t::replace);
}

namespace RecordAccess {

namespace {

/// JSON has no infinity: 1e999 would be written back as something else.
std::optional<double> finite(double value) {
    if (!std::isfinite(value)) return std::nullopt;
    return value;
}

} // namespace

const nlohmann::json* member(const nlohmann::json& value, std::string_view key) {
    const auto found = value.find(key);
    return found == value.end() ? nullptr : &*found;
}
bool isObject(const nlohmann::json& value) {
    return value.is_object();
}
bool isNull(const nlohmann::json& value) {
    return value.is_null();
}
std::optional<std::string> text(const nlohmann::json& value) {
    if (!value.is_string()) return std::nullopt;
    return value.get<std::string>();
}

std::optional<bool> boolean(const nlohmann::json& value) {
    if (!value.is_boolean()) return std::nullopt;
    return value.get<bool>();
}

std::optional<double> number(const nlohmann::json& value) {
    if (!value.is_number()) return std::nullopt;
    return finite(value.get<double>());
}

std::optional<std::int64_t> integer(const nlohmann::json& value) {
    constexpr std::uint64_t largest = std::numeric_limits<std::int64_t>::max();
    if (!value.is_number_integer()) return std::nullopt;
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > largest) return std::nullopt;
    return value.get<std::int64_t>();
}

const std::string_view* member(const RawJSON::Object& object, std::string_view key) {
    return object[key];
}
bool isObject(const RawJSON::Object&) {
    return true;
}
bool isNull(std::string_view value) {
    return value == "null";
}
std::optional<std::string> text(std::string_view value) {
    return RawJSON::string(value);
}

std::optional<bool> boolean(std::string_view value) {
    if (value != "true" && value != "false") return std::nullopt;
    return value == "true";
}

std::optional<double> number(std::string_view value) {
    const bool isNumber = !value.empty() && (value[0] == '-' || (value[0] >= '0' && value[0] <= '9'));
    if (!isNumber) return std::nullopt;
    return finite(Platform::decimalNumber(value));
}

std::optional<std::int64_t> integer(std::string_view value) {
    std::int64_t result = 0;
    const char* const end = value.data() + value.size();
    const auto parsed = std::from_chars(value.data(), end, result);
    if (parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
    return result;
}

} // namespace RecordAccess

} // namespace quorvik
