#include "quorvik_hook/StatusLine.h"

#include "QuorvikCore/Install/StatusLineInstaller.h"
#include "QuorvikCore/JSON/OrderedJSON.h"
#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Platform/SupervisedProcess.h"
#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Text/Unicode.h"

#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <vector>

namespace quorvik::StatusLine {

namespace {

constexpr std::size_t maxPayload = 1u << 20;               // bytes
constexpr const char* insideMarker = "QUORVIK_STATUSLINE"; // in the environment of the user's own status line
constexpr std::string_view separator = " · ";

/// A text for one line of a terminal; empty when there is none.
std::string text(const JSONValue& payload, std::initializer_list<std::string_view> path) {
    const JSONValue* value = payload.valueAt(path);
    const std::string* found = value ? value->stringValue() : nullptr;
    return found ? Unicode::terminalLine(*found) : "";
}

/// "42%"; empty when there is no such figure.
std::string percentage(const JSONValue& payload, std::initializer_list<std::string_view> path) {
    const JSONValue* value = payload.valueAt(path);
    const std::string* digits = value ? value->numberText() : nullptr;
    const auto figure = digits ? Number::finite(*digits) : std::nullopt;
    if (!figure || !(*figure >= 0 && *figure <= 1000)) return "";
    return std::to_string(std::lround(*figure)) + "%";
}

/// The command saved when ours was installed; absent when there is none. One of ours would run for ever.
std::optional<std::string> usersOwn() {
    auto command = StatusLineInstaller::originalCommand(StatusLineInstaller::originalFile());
    if (!command || Unicode::trimmed(*command, Unicode::isWhitespaceOrNewline).empty()) return std::nullopt;
    if (!Platform::environmentValue(insideMarker).empty())
        return std::nullopt; // it is the user's own that runs us
    JSONValue statusLine = JSONValue::object();
    statusLine.setMember("command", JSONValue::string(*command));
    if (StatusLineInstaller::isOurs(statusLine)) return std::nullopt;
    return command;
}

} // namespace

std::string ownLine(std::string_view bytes) {
    JSONValue payload;
    try {
        payload = OrderedJSON::parse(Unicode::repaired(bytes));
    } catch (const JSONParseError&) {
        return "";
    }
    struct Part {
        std::string_view label;
        std::string value;
    };
    const Part parts[] = {
        {"", text(payload, {"model", "display_name"})},
        {"", Files::lastComponent(text(payload, {"workspace", "current_dir"}))},
        {"context ", percentage(payload, {"context_window", "used_percentage"})},
        {"5h ", percentage(payload, {"rate_limits", "five_hour", "used_percentage"})},
        {"7d ", percentage(payload, {"rate_limits", "seven_day", "used_percentage"})},
    };
    std::string line;
    for (const auto& [label, value] : parts) {
        if (value.empty()) continue;
        if (!line.empty()) line += separator;
        line += label;
        line += value;
    }
    return line;
}

void run() {
    const auto original = usersOwn();
    if (!original) {
        const auto payload = Files::readStream(STDIN_FILENO, maxPayload);
        const std::string line = payload ? ownLine(payload->text()) + "\n" : "\n";
        if (line.size() > 1) writeAll(STDOUT_FILENO, line.data(), line.size());
        return;
    }
    ::setenv(insideMarker, "1", 1);
    SupervisedProcess command; // ended together with us, when the agent wants the next line
    command.useOwnGroup();     // with all that it started
    if (command.start({"/bin/sh", "-c", *original}, STDOUT_FILENO, STDERR_FILENO) == 0)
        command.wait([] { return true; });
}

} // namespace quorvik::StatusLine
