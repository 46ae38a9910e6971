#include "QuorvikApp/Control/Protocol.h"

#include "QuorvikCore/JSON/RecordCoding.h"

namespace quorvik::ControlProtocol {

namespace {

constexpr std::string_view start = "{\"jsonrpc\":\"2.0\",";

std::string withID(const nlohmann::json& id) {
    return std::string(start) + "\"id\":" + printJSON(id) + ",";
}

bool isID(const nlohmann::json& id) {
    return id.is_string() || id.is_number() || id.is_null();
}

} // namespace

std::optional<Message> parse(std::string_view line, Fault& fault) {
    const auto refuse = [&](Code code, std::string message, nlohmann::json id) {
        fault = {code, std::move(message), std::move(id)};
        return std::nullopt;
    };
    auto value = parseJSON(line);
    if (!value) return refuse(notJSON, "not JSON", nullptr);
    if (!value->is_object()) return refuse(noRequest, "not a request: batches are not taken", nullptr);
    nlohmann::json& id = (*value)["id"];
    if (!isID(id)) return refuse(noRequest, "id must be a text or a number", nullptr);
    if ((*value)["jsonrpc"] != "2.0") return refuse(noRequest, "jsonrpc must be \"2.0\"", id);
    const nlohmann::json& method = (*value)["method"];
    if (!method.is_string()) return refuse(noRequest, "method must be a text", id);
    Message message{method.get<std::string>(), nlohmann::json::object(), std::move(id)};
    nlohmann::json& params = (*value)["params"];
    if (!params.is_null() && !params.is_object())
        return refuse(wrongParameters, "params must be an object", message.id);
    if (params.is_object()) message.params = std::move(params);
    return message;
}

std::string request(const nlohmann::json& id, std::string_view method, const nlohmann::json& params) {
    return printJSON({{"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", params}});
}

std::string result(const nlohmann::json& id, const nlohmann::json& value) {
    return resultText(id, printJSON(value));
}

std::string error(const nlohmann::json& id, Code code, std::string_view message) {
    return printJSON({{"jsonrpc", "2.0"},
                      {"id", id},
                      {"error", {{"code", static_cast<int>(code)}, {"message", message}}}});
}

std::string resultText(const nlohmann::json& id, std::string_view value) {
    return withID(id) + "\"result\":" + std::string(value) + "}";
}

std::string notificationText(std::string_view method, std::string_view params) {
    return std::string(start) + "\"method\":\"" + std::string(method) +
           "\",\"params\":" + std::string(params) + "}";
}

} // namespace quorvik::ControlProtocol
