#include "QuorvikCore/Session/HookLedger.h"

#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/FileLock.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <unistd.h>

#include <algorithm>
#include <functional>

namespace quorvik::HookLedger {

namespace {

// With the wait for its record (AgentSession) a hook stays below 2 seconds.
constexpr std::chrono::milliseconds patience(500);
constexpr std::size_t maxFileSize = 64 << 10; // bytes; a full one has a tenth
constexpr std::size_t maxNameLength = 40;

std::string harmless(std::string_view event) {
    if (event == unreadable || event == incomplete) return std::string(event);
    const auto isPlain = [](char byte) {
        return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
               byte == '-' || byte == '_';
    };
    std::string name(event.substr(0, maxNameLength));
    std::ranges::replace_if(
        name, [&](char byte) { return !isPlain(byte); }, '_');
    return name;
}

NotUnderstood kindFromJSON(const nlohmann::json& value) {
    const RecordReader reader(value);
    NotUnderstood kind{};
    std::string event;
    reader.required("agent", kind.agent);
    reader.required("event", event);
    reader.required("count", kind.count);
    reader.required("first", kind.first);
    reader.required("last", kind.last);
    kind.event = harmless(event); // whoever wrote it
    return kind;
}

Content contentFrom(const nlohmann::json& value) {
    Content content;
    const RecordReader reader(value);
    if (const auto* agents = reader.member("agents"); agents && agents->is_object()) {
        for (const auto& [name, member] : agents->items()) {
            const auto source = fromRawValue<Source>(name);
            if (!source) continue;
            const RecordReader times(member);
            Agent& agent = content.agents[*source];
            times.optional("installedAt", agent.installedAt);
            times.optional("lastEventAt", agent.lastEventAt);
        }
    }
    if (const auto* kinds = reader.member("notUnderstood"); kinds && kinds->is_array())
        for (const auto& kind : *kinds)
            if (content.notUnderstood.size() < mostKinds) content.notUnderstood.push_back(kindFromJSON(kind));
    return content;
}

nlohmann::json toJSON(const Content& content) {
    nlohmann::json agents = nlohmann::json::object(), kinds = nlohmann::json::array();
    const auto write = [](nlohmann::json& object, const char* key, const std::optional<Date>& time) {
        if (time) object[key] = secondsSince1970(*time);
    };
    for (const auto& [source, agent] : content.agents) {
        nlohmann::json& object = agents[std::string(rawValue(source))] = nlohmann::json::object();
        write(object, "installedAt", agent.installedAt);
        write(object, "lastEventAt", agent.lastEventAt);
    }
    for (const NotUnderstood& kind : content.notUnderstood)
        kinds.push_back({{"agent", rawValue(kind.agent)},
                         {"event", kind.event},
                         {"count", kind.count},
                         {"first", secondsSince1970(kind.first)},
                         {"last", secondsSince1970(kind.last)}});
    return {{"agents", std::move(agents)}, {"notUnderstood", std::move(kinds)}};
}

void change(const std::function<void(Content&)>& mutate) {
    try {
        const auto path = file();
        QuorvikPaths::ensureDirectory(path.parent_path());
        const FileLock lock = FileLock::acquire(path.native() + ".lock", patience);
        Content content = read();
        mutate(content);
        const auto temporary =
            path.parent_path() / ("." + path.filename().string() + "." + std::to_string(::getpid()) + ".tmp");
        Files::replace(path, printJSON(toJSON(content)), temporary, 0600);
    } catch (const FileError&) {
        // A full disk, a folder that is not ours, a writer that was stopped: it is not remembered.
    }
}

} // namespace

std::filesystem::path file() {
    return QuorvikPaths::supportDirectory() / "hooks.json";
}

Content read() {
    const auto text = Files::read(file(), maxFileSize);
    const auto value = text ? parseJSON(*text) : std::nullopt;
    if (!value) return {};
    try {
        return contentFrom(*value);
    } catch (const RecordError&) {
        return {};
    }
}

void countNotUnderstood(Source agent, std::string_view event, Date now) {
    const std::string name = harmless(event);
    change([&](Content& content) {
        auto& kinds = content.notUnderstood;
        const auto known = std::ranges::find_if(
            kinds, [&](const NotUnderstood& kind) { return kind.agent == agent && kind.event == name; });
        if (known != kinds.end()) {
            ++known->count;
            known->last = now;
            return;
        }
        if (kinds.size() >= mostKinds) kinds.erase(std::ranges::min_element(kinds, {}, &NotUnderstood::last));
        kinds.push_back({agent, name, 1, now, now});
    });
}

void noteInstall(Source agent, Date now) {
    change([&](Content& content) { content.agents[agent].installedAt = now; });
}

void noteLastEvents(const std::map<Source, Date>& times) {
    if (times.empty()) return;
    change([&](Content& content) {
        for (const auto& [agent, time] : times) {
            auto& last = content.agents[agent].lastEventAt;
            last = std::max(last.value_or(time), time);
        }
    });
}

} // namespace quorvik::HookLedger
