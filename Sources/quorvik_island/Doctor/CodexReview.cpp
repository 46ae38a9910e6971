#include "quorvik_island/Doctor/CodexReview.h"

#include "QuorvikCore/Install/HookInstaller.h"
#include "QuorvikCore/Install/SettingsDocument.h"
#include "QuorvikCore/Install/TOMLOutline.h"
#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Text/SHA256.h"

#include <algorithm>
#include <map>

namespace quorvik::Doctor::CodexReview {

namespace {

/// What the settings keep of one hook.
struct Kept {
    std::string digest; ///< "sha256:…"; empty when there is none
    bool isOff = false;
};

/// Calls `visit(path, value)` for every key, with the keys from the root down to it.
template <typename Visit>
void forEachKey(std::string_view config, Visit visit) {
    std::vector<std::string> table;
    for (const TOMLOutline::Statement& statement : TOMLOutline::statements(config)) {
        if (statement.kind != TOMLOutline::Statement::Kind::key) {
            table = statement.path;
            continue;
        }
        std::vector<std::string> path = table;
        path.insert(path.end(), statement.path.begin(), statement.path.end());
        visit(path, statement);
    }
}

bool isBoolean(const TOMLOutline::Statement& statement, std::string_view value) {
    return statement.value.substr(0, statement.value.find_first_of(" \t#\r\n")) == value;
}

std::map<std::string, Kept> keptOf(std::string_view config) {
    std::map<std::string, Kept> kept;
    forEachKey(config, [&](const std::vector<std::string>& path, const TOMLOutline::Statement& statement) {
        if (path.size() != 4 || path[0] != "hooks" || path[1] != "state") return;
        if (path[3] == "trusted_hash") kept[path[2]].digest = statement.text().value_or("");
        if (path[3] == "enabled") kept[path[2]].isOff = isBoolean(statement, "false");
    });
    return kept;
}

/// "pre_tool_use" of "PreToolUse".
std::string snakeCase(std::string_view event) {
    std::string name;
    for (const char byte : event) {
        const bool isUpper = byte >= 'A' && byte <= 'Z';
        if (isUpper && !name.empty()) name += '_';
        name += isUpper ? static_cast<char>(byte - 'A' + 'a') : byte;
    }
    return name;
}

/// The time-out that Codex gives a hook: at these two events a session is about to end.
std::int64_t timeoutOf(const JSONValue& hook, std::string_view event) {
    const bool isShort = event == "SessionEnd" || event == "Interrupt";
    const JSONValue* member = hook["timeout"];
    const std::string* text = member ? member->numberText() : nullptr;
    const auto seconds = text ? Number::integer<std::int64_t>(*text) : std::nullopt;
    const std::int64_t wanted = std::max<std::int64_t>(seconds.value_or(isShort ? 1 : 600), 1);
    return isShort ? std::min<std::int64_t>(wanted, 3) : wanted;
}

/// The digest that Codex makes of a hook: of its parts as JSON on one line, with sorted members and with what
/// was left out.
std::string digestOf(const JSONValue& group, const JSONValue& hook, std::string_view event,
                     const std::string& command) {
    const JSONValue* async = hook["async"];
    nlohmann::json described = {{"type", "command"},
                                {"command", command},
                                {"timeout", timeoutOf(hook, event)},
                                {"async", async && async->boolValue() == true}};
    const JSONValue* message = hook["statusMessage"];
    if (message && message->stringValue()) described["statusMessage"] = *message->stringValue();
    nlohmann::json identity = {{"event_name", snakeCase(event)},
                               {"hooks", nlohmann::json::array({std::move(described)})}};
    const bool hasMatcher = event != "UserPromptSubmit" && event != "Stop";
    const JSONValue* matcher = group["matcher"];
    if (hasMatcher && matcher && matcher->stringValue()) identity["matcher"] = *matcher->stringValue();
    return "sha256:" + sha256(printJSON(identity));
}

State stateOf(const Kept* kept, const std::string& digest) {
    if (kept && kept->isOff) return State::switchedOff;
    if (!kept || kept->digest.empty()) return State::pending;
    return kept->digest == digest ? State::reviewed : State::changed;
}

const JSONValue::Array& elements(const JSONValue* list) {
    static const JSONValue::Array none;
    return list && list->arrayValue() ? *list->arrayValue() : none;
}

} // namespace

std::vector<Hook> hooks(std::string_view hooks, std::string_view config, std::string_view path) {
    std::vector<Hook> found;
    const auto document = SettingsDocument::parse(std::string(hooks));
    const JSONValue* events = document.root["hooks"];
    if (!events || !events->objectValue()) return found;
    const auto kept = keptOf(config);
    for (const auto& [event, groups] : *events->objectValue()) {
        const auto& all = elements(&groups);
        for (std::size_t group = 0; group < all.size(); ++group) {
            const auto& list = elements(all[group]["hooks"]);
            for (std::size_t index = 0; index < list.size(); ++index) {
                const JSONValue* command = list[index]["command"];
                if (!command || !command->stringValue() || !HookInstaller::isManaged(*command->stringValue()))
                    continue;
                const std::string key = std::string(path) + ":" + snakeCase(event) + ":" +
                                        std::to_string(group) + ":" + std::to_string(index);
                const auto own = kept.find(key);
                const std::string digest = digestOf(all[group], list[index], event, *command->stringValue());
                found.push_back({event, stateOf(own == kept.end() ? nullptr : &own->second, digest)});
            }
        }
    }
    return found;
}

bool areHooksOff(std::string_view config) {
    bool off = false;
    forEachKey(config, [&](const std::vector<std::string>& path, const TOMLOutline::Statement& statement) {
        if (path == std::vector<std::string>{"features", "hooks"}) off = isBoolean(statement, "false");
    });
    return off;
}

} // namespace quorvik::Doctor::CodexReview
