#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <string_view>

/// What both ends of the control socket agree on (docs/control.md): JSON-RPC 2.0, a message a line.
namespace quorvik::ControlProtocol {

inline constexpr int version = 1;

/// Bytes; a line from a front end, without its line feed, must be shorter.
inline constexpr std::size_t maxLine = 1 << 20;

/// The codes of error replies (docs/control.md).
enum Code : int {
    notJSON = -32700,
    noRequest = -32600,
    unknownMethod = -32601,
    wrongParameters = -32602,
    ourFault = -32603,
    noHello = 1,
    stopping = 2,
    roleTaken = 3,
    withdrawn = 10,
    answeredAlready = 11,
    unknownThing = 12,
    unfitAnswer = 13,
    agentRefused = 14,
    requestsWait = 15,
    toolFailed = 16
};

/// A request or a notification of JSON-RPC, taken apart.
struct Message {
    std::string method;
    nlohmann::json params = nlohmann::json::object();
    nlohmann::json id; ///< null: nobody waits for a reply
};

/// Why a line is no message.
struct Fault {
    Code code;
    std::string message;
    nlohmann::json id;
};

/// The message of one line. Absent, with the fault told, when it is none.
std::optional<Message> parse(std::string_view line, Fault& fault);

// Each of the following makes one line, without its line feed.

std::string request(const nlohmann::json& id, std::string_view method, const nlohmann::json& params);
std::string result(const nlohmann::json& id, const nlohmann::json& value);
std::string error(const nlohmann::json& id, Code code, std::string_view message);

/// Take a value or parameters that are JSON text already.
std::string resultText(const nlohmann::json& id, std::string_view value);
std::string notificationText(std::string_view method, std::string_view params);

} // namespace quorvik::ControlProtocol
