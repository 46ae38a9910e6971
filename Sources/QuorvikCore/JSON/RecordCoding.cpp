#include "QuorvikCore/JSON/RecordCoding.h"

namespace quorvik {

std::optional<nlohmann::json> parseJSON(std::string_view text) {
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

RecordReader::RecordReader(const nlohmann::json& value) : object_(value) {
    if (!value.is_object()) throw RecordError("not an object");
}

const nlohmann::json* RecordReader::member(const char* key) const {
    const auto found = object_.find(key);
    return found == object_.end() || found->is_null() ? nullptr : &*found;
}

void RecordReader::wrongType(const char* key) {
    throw RecordError(std::string(key) + " has the wrong type");
}

void RecordReader::read(const char* key, const nlohmann::json& value, std::string& field) {
    if (!value.is_string()) wrongType(key);
    field = value.get_ref<const std::string&>();
}

void RecordReader::read(const char* key, const nlohmann::json& value, bool& field) {
    if (!value.is_boolean()) wrongType(key);
    field = value.get<bool>();
}

void RecordReader::read(const char* key, const nlohmann::json& value, double& field) {
    if (!value.is_number()) wrongType(key);
    field = value.get<double>();
}

void RecordReader::read(const char* key, const nlohmann::json& value, Date& field) {
    double seconds;
    read(key, value, seconds);
    field = dateFromSeconds(seconds);
}

void RecordReader::read(const char* key, const nlohmann::json& value, std::int64_t& field) {
    if (!value.is_number_integer()) wrongType(key);
    if (value.is_number_unsigned() &&
        value.get<std::uint64_t>() > std::uint64_t{std::numeric_limits<std::int64_t>::max()})
        wrongType(key);
    field = value.get<std::int64_t>();
}

void RecordReader::read(const char* key, const nlohmann::json& value, std::int32_t& field) {
    std::int64_t wide;
    read(key, value, wide);
    if (wide < std::numeric_limits<std::int32_t>::min() || wide > std::numeric_limits<std::int32_t>::max())
        wrongType(key);
    field = static_cast<std::int32_t>(wide);
}

} // namespace quorvik
