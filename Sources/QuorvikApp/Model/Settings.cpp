#include "QuorvikApp/Model/Settings.h"

#include "QuorvikCore/JSON/RawJSON.h"
#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Text/Unicode.h"
#include "QuorvikCore/Usage/AccountUsage.h"

#include <algorithm>
#include <cmath>

namespace quorvik {

namespace {

constexpr double day = 86'400;

/// A field that holds seconds, from 0 to `most`.
bool setSeconds(double& field, const nlohmann::json& value, double most) {
    if (!value.is_number()) return false;
    const double seconds = value.get<double>();
    if (!std::isfinite(seconds) || seconds < 0 || seconds > most) return false;
    field = seconds;
    return true;
}

bool setSwitch(bool& field, const nlohmann::json& value) {
    if (value != "on" && value != "off") return false;
    field = value == "on";
    return true;
}

template <std::string Settings::*field, bool (*isValid)(const std::string&)>
constexpr SettingRule text(std::string_view name, std::string_view meaning, std::string_view values) {
    return {name, meaning, values, [](const Settings& settings) -> nlohmann::json { return settings.*field; },
            [](Settings& settings, const nlohmann::json& value) {
                if (!value.is_string()) return false;
                const auto typed = value.get<std::string>();
                if (!typed.empty() && !isValid(typed)) return false;
                settings.*field = typed;
                return true;
            }};
}

bool isHost(const std::string& typed) {
    return AccountUsage::address(typed).has_value();
}

bool isPath(const std::string& typed) {
    return typed.starts_with('/') && typed.find('\0') == typed.npos;
}

constexpr std::size_t mostServices = 50;

std::string listOf(const std::vector<ServiceSpec>& services) {
    std::string list;
    for (const ServiceSpec& service : services)
        list += (list.empty() ? "" : ", ") + service.text();
    return list;
}

/// A list of services with commas between them; the empty text is the empty list.
bool setServices(std::vector<ServiceSpec>& field, const nlohmann::json& value) {
    // A single port may well be written as a number.
    const std::string text = value.is_number_integer() ? value.dump()
                             : value.is_string()       ? value.get<std::string>()
                                                       : ",";
    std::vector<ServiceSpec> services;
    if (!Unicode::trimmed(text, Unicode::isWhitespaceOrNewline).empty()) {
        for (std::size_t start = 0; start <= text.size();) {
            const std::size_t end = std::min(text.find(',', start), text.size());
            auto service = ServiceSpec::parse(std::string_view(text).substr(start, end - start));
            if (!service || services.size() == mostServices) return false;
            services.push_back(std::move(*service));
            start = end + 1;
        }
    }
    field = std::move(services);
    return true;
}

template <double SchedulerConfig::*field>
constexpr SettingRule schedulerSeconds(std::string_view name, std::string_view meaning) {
    return {name, meaning, "a number of seconds, 0 to 86400",
            [](const Settings& settings) -> nlohmann::json { return settings.scheduler.*field; },
            [](Settings& settings, const nlohmann::json& value) {
                return setSeconds(settings.scheduler.*field, value, day);
            }};
}

template <bool Settings::*field>
constexpr SettingRule onOrOff(std::string_view name, std::string_view meaning) {
    return {
        name, meaning, "on or off",
        [](const Settings& settings) -> nlohmann::json { return settings.*field ? "on" : "off"; },
        [](Settings& settings, const nlohmann::json& value) { return setSwitch(settings.*field, value); }};
}

constexpr int mostBubbles = 100;

constexpr SettingRule rules[] = {
    onOrOff<&Settings::alerts>("alerts", "show what `quorvik alert` sends"),
    onOrOff<&Settings::approvals>("approvals", "take agents' requests; off: agents ask by themselves"),
    onOrOff<&Settings::notifications>("notifications", "tell of a request that no front end shows"),
    onOrOff<&Settings::motion>("motion", "grow and shrink smoothly (overlay)"),
    onOrOff<&Settings::git>("git", "tell what happens in the repositories in which sessions live"),
    onOrOff<&Settings::servers>("servers", "show the development servers that run below your home folder"),
    onOrOff<&Settings::containers>("containers", "show containers and Compose projects"),
    onOrOff<&Settings::xcode>("xcode", "show Xcode's builds and test runs"),
    onOrOff<&Settings::usage>("usage", "tell when much of an agent's limits is used"),
    onOrOff<&Settings::accounts>("accounts", "ask the services named below, over the network, about limits"),
    text<&Settings::claudeHost, isHost>("claudeHost", "the host to ask about Claude's limits",
                                        "a host, or nothing"),
    text<&Settings::grokHost, isHost>("grokHost", "the host to ask about Grok's limits",
                                      "a host, or nothing"),
    text<&Settings::grokTokenFile, isPath>("grokTokenFile", "the file with the token for that host",
                                           "an absolute path, or nothing"),
    onOrOff<&Settings::clipboard>("clipboard",
                                  "offer quick actions for traces, JSON and colours that you copy"),
    onOrOff<&Settings::github>("github", "ask GitHub, through gh, for pull requests and deployments"),
    {"services", "ports, containers and Compose projects to watch",
     "a list such as \"3000, web:8080, docker:my-db, compose:shop\"",
     [](const Settings& settings) -> nlohmann::json { return listOf(settings.services); },
     [](Settings& settings, const nlohmann::json& value) { return setServices(settings.services, value); }},
    {"notifyAfter", "how long a request waits unseen before that", "a number of seconds, 0 to 3600",
     [](const Settings& settings) -> nlohmann::json { return settings.notifyAfter; },
     [](Settings& settings, const nlohmann::json& value) {
         return setSeconds(settings.notifyAfter, value, 3600);
     }},
    schedulerSeconds<&SchedulerConfig::doneLinger>("doneLinger", "how long what is done stays visible"),
    schedulerSeconds<&SchedulerConfig::changesLinger>("changesLinger",
                                                      "the same for changes in git and for usage"),
    schedulerSeconds<&SchedulerConfig::portDownLinger>("portDownLinger",
                                                       "the same for a service that went down"),
    schedulerSeconds<&SchedulerConfig::staleAfter>("staleAfter",
                                                   "silence after which a working session counts as stale"),
    schedulerSeconds<&SchedulerConfig::awaitingQuietAfter>("awaitingQuietAfter",
                                                           "how long a waiting session draws attention"),
    schedulerSeconds<&SchedulerConfig::awaitingStaleAfter>("awaitingStaleAfter",
                                                           "how long it counts as waiting at all"),
    {"maxBubbles", "items beside the primary one", "a whole number, 0 to 100",
     [](const Settings& settings) -> nlohmann::json { return settings.scheduler.maxBubbles; },
     [](Settings& settings, const nlohmann::json& value) {
         if (!value.is_number_integer()) return false;
         const auto count = value.get<std::int64_t>();
         if (count < 0 || count > mostBubbles) return false;
         settings.scheduler.maxBubbles = static_cast<int>(count);
         return true;
     }},
};

} // namespace

std::span<const SettingRule> settingRules() {
    return rules;
}

const SettingRule* settingRule(std::string_view name) {
    const auto found = std::ranges::find(rules, name, &SettingRule::name);
    return found == std::end(rules) ? nullptr : &*found;
}

Settings Settings::parse(std::string_view text, std::vector<std::string>& problems) {
    Settings settings;
    if (Unicode::trimmed(text, Unicode::isWhitespaceOrNewline).empty()) return settings;
    // Member by member: a number that is out of range, say, spoils its own member only.
    const auto members = RawJSON::members(text);
    if (!members) {
        problems.emplace_back("settings: the file is no JSON object, so all defaults apply");
        return settings;
    }
    for (const auto& [name, member] : *members) {
        const auto value = parseJSON(member).value_or(nullptr);
        const SettingRule* rule = settingRule(name);
        if (!rule)
            problems.push_back("settings: there is no setting " + Unicode::terminalLine(name));
        else if (!rule->set(settings, value))
            problems.push_back("settings: " + name + " must be " + std::string(rule->values));
    }
    return settings;
}

bool Settings::operator==(const Settings& other) const {
    return std::ranges::all_of(rules,
                               [&](const SettingRule& rule) { return rule.get(*this) == rule.get(other); });
}

} // namespace quorvik
