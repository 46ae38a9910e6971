#include "QuorvikCore/Install/JSONHookFormat.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace quorvik {

namespace {

using Status = HookInstaller::Status;

std::vector<std::string_view> path(const std::vector<std::string>& keys) {
    return {keys.begin(), keys.end()};
}

/// The command line of a hook of ours; null for every other value.
const std::string* managedCommand(const JSONValue& hook) {
    for (const char* key : {"command", "bash"}) {
        const JSONValue* member = hook[key];
        const std::string* command = member ? member->stringValue() : nullptr;
        if (command && HookInstaller::isManaged(*command)) return command;
    }
    return nullptr;
}

/// The hooks that an entry groups; null when it is not a group.
template <typename Value>
auto groupedHooks(Value& entry) {
    auto* hooks = entry["hooks"];
    return hooks ? hooks->arrayValue() : nullptr;
}

/// Calls `visit(event, hook, command)` for every hook of ours.
template <typename Visit>
void forEachManaged(const JSONValue& container, const Visit& visit) {
    const JSONValue::Object* events = container.objectValue();
    if (!events) return;
    for (const auto& [event, list] : *events) {
        const JSONValue::Array* entries = list.arrayValue();
        if (!entries) continue;
        const auto visitIfManaged = [&, &name = event](const JSONValue& hook) {
            if (const std::string* command = managedCommand(hook)) visit(name, hook, *command);
        };
        for (const JSONValue& entry : *entries) {
            visitIfManaged(entry);
            const JSONValue::Array* hooks = groupedHooks(entry);
            if (hooks) std::ranges::for_each(*hooks, visitIfManaged);
        }
    }
}

/// What taking out our hooks did to a container.
struct Removal {
    bool any = false;
    std::set<std::string> emptied; ///< events whose list held nothing else
};

/// Takes out our hooks, and the groups that held nothing else. Lists stay, even empty ones.
Removal removeManaged(JSONValue& container) {
    Removal removal;
    JSONValue::Object* events = container.objectValue();
    if (!events) return removal;
    for (auto& [event, list] : *events) {
        JSONValue::Array* entries = list.arrayValue();
        if (!entries || entries->empty()) continue;
        JSONValue::Array kept;
        for (JSONValue& entry : *entries) {
            bool drop = managedCommand(entry) != nullptr;
            if (JSONValue::Array* hooks = groupedHooks(entry); hooks && !drop) {
                const auto count =
                    std::erase_if(*hooks, [](const JSONValue& hook) { return managedCommand(hook); });
                removal.any = removal.any || count > 0;
                drop = count > 0 && hooks->empty();
            }
            removal.any = removal.any || drop;
            if (!drop) kept.push_back(std::move(entry));
        }
        *entries = std::move(kept);
        if (entries->empty()) removal.emptied.insert(event);
    }
    return removal;
}

/// Removes the events of which nothing is left.
void dropEmptied(JSONValue& container, const Removal& removal) {
    JSONValue::Object* events = container.objectValue();
    if (!events) return;
    std::erase_if(*events, [&](const JSONMember& member) {
        const JSONValue::Array* entries = member.value.arrayValue();
        return entries && entries->empty() && removal.emptied.contains(member.key);
    });
}

/// Codex gives a hook of these events 3 seconds, and complains at every start about a larger number.
int writtenTimeout(const HookTarget& target, const std::string& event) {
    const bool isClamped = target.source == Source::codex && (event == "SessionEnd" || event == "Interrupt");
    return isClamped ? 3 : target.timeout(event);
}

bool isNumber(const JSONValue* value, double wanted) {
    const std::string* text = value ? value->numberText() : nullptr;
    return text && std::strtod(text->c_str(), nullptr) == wanted;
}

bool isTrue(const JSONValue* value) {
    return value && value->boolValue() == true;
}

} // namespace

JSONValue JSONHookFormat::hook(const HookTarget& target, const std::string& event,
                               std::string_view commandKey, const std::string& hookPath) const {
    JSONValue hook = JSONValue::object();
    hook.setMember("type", JSONValue::string("command"));
    hook.setMember(commandKey, JSONValue::string(HookInstaller::command(target.source, hookPath)));
    hook.setMember(timeoutKey(), JSONValue::number(std::to_string(writtenTimeout(target, event))));
    return hook;
}

Status::Kind JSONHookFormat::status(const HookTarget& target, const std::string& text,
                                    const std::string& hookPath) const {
    const SettingsDocument document = SettingsDocument::parse(text);
    const JSONValue* container = document.root.valueAt(path(target.container));
    const std::string current = HookInstaller::command(target.source, hookPath);
    std::set<std::string> registered;
    bool isCurrent = true;
    if (container) {
        forEachManaged(*container,
                       [&](const std::string& event, const JSONValue& hook, const std::string& command) {
                           registered.insert(event);
                           if (command != current) isCurrent = false;
                           if (target.blockingEvents.contains(event) &&
                               !isNumber(hook[timeoutKey()], HookTarget::blockingTimeout))
                               isCurrent = false;
                       });
    }
    if (registered.empty()) return Status::Kind::notInstalled;
    if (target.enableFlag && !isTrue(document.root.valueAt(path(*target.enableFlag)))) isCurrent = false;
    for (const std::string& event : target.events) {
        if (!registered.contains(event)) isCurrent = false;
    }
    return isCurrent ? Status::Kind::installed : Status::Kind::stale;
}

std::vector<HookInstaller::Entry> JSONHookFormat::entries(const HookTarget& target,
                                                          const std::string& text) const {
    const SettingsDocument document = SettingsDocument::parse(text);
    std::vector<HookInstaller::Entry> found;
    if (const JSONValue* container = document.root.valueAt(path(target.container)))
        forEachManaged(*container,
                       [&](const std::string& event, const JSONValue&, const std::string& command) {
                           found.push_back({event, command});
                       });
    return found;
}

std::string JSONHookFormat::installed(const HookTarget& target, const Content& text,
                                      const std::string& hookPath) const {
    SettingsDocument document = SettingsDocument::parse(text);
    JSONValue container = JSONValue::object();
    if (JSONValue* found = document.root.valueAt(path(target.container)); found && found->objectValue())
        container = std::move(*found);

    const Removal removal = removeManaged(container);
    for (const std::string& event : target.events) {
        JSONValue entry = JSONValue::object();
        entry.setMember("hooks", JSONValue::array({hook(target, event, "command", hookPath)}));
        JSONValue* list = container[event];
        if (list && list->arrayValue())
            list->arrayValue()->push_back(std::move(entry));
        else
            container.setMember(event, JSONValue::array({std::move(entry)}));
    }
    dropEmptied(container, removal); // of events that an earlier version registered

    document.root.set(path(target.container), std::move(container));
    if (target.enableFlag) document.root.set(path(*target.enableFlag), JSONValue::boolean(true));
    return document.print();
}

UserFileEdit::Decision JSONHookFormat::uninstalled(const HookTarget& target, const std::string& text) const {
    SettingsDocument document = SettingsDocument::parse(text);
    JSONValue* container = document.root.valueAt(path(target.container));
    if (!container) return UserFileEdit::Decision::keep();
    const Removal removal = removeManaged(*container);
    if (!removal.any) return UserFileEdit::Decision::keep();
    dropEmptied(*container, removal);

    // Copilot's file stays, whatever is left in it.
    JSONValue nothingElse = JSONValue::object();
    nothingElse.set(path(target.container), JSONValue::object());
    if (target.kind == HookTarget::Kind::json && target.ownsFile && document.root == nothingElse)
        return UserFileEdit::Decision::remove();
    return UserFileEdit::Decision::write(document.print());
}

const HookFormat& jsonHookFormat() {
    static const JSONHookFormat format;
    return format;
}

} // namespace quorvik
