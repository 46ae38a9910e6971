#pragma once

#include "QuorvikCore/Activity/ServiceSpec.h"
#include "QuorvikCore/Island/IslandItem.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik {

/// The user's choices, as `settings.json` in the support folder holds them: an object whose members are the
/// fields' names. A member that is missing has its default.
struct Settings {
    SchedulerConfig scheduler; ///< its seven fields are members of the file under their own names
    bool alerts = true;        ///< "on" or "off": whether `quorvik alert` is shown
    bool approvals = true;     ///< "on" or "off"; off: agents ask in their own interface
    bool notifications = true; ///< "on" or "off": tell of a request that no front end shows
    bool git = true;           ///< "on" or "off": tell what happens in the repositories of sessions
    bool servers = true;       ///< "on" or "off": show development servers
    bool containers = true;    ///< "on" or "off": show containers
    bool xcode = true;         ///< "on" or "off": show Xcode's builds and test runs
    bool usage = true;         ///< "on" or "off": tell when much of an agent's limits is used
    bool accounts = false; ///< "on" or "off": ask the services named below, over the network, about limits
    bool motion = true;    ///< "on" or "off": whether the overlay grows and shrinks smoothly
    std::string claudeHost, grokHost;  ///< "api.example.org"; empty: it is not asked
    std::string grokTokenFile;         ///< an absolute path: the file with the token for grokHost
    bool github = false;               ///< "on" or "off": ask GitHub through `gh` for news and deployments
    bool clipboard = false;            ///< "on" or "off": offer quick actions for what is copied
    std::vector<ServiceSpec> services; ///< the services that the user watches by name
    double notifyAfter = 10;           ///< seconds a request may wait unseen before that; 0 to 3600

    /// What a settings file means. What cannot be used is left at its default and named in `problems`, a line
    /// each ("settings: doneLinger must be a number of seconds, 0 to 86400"); the rest holds. An empty text
    /// gives the defaults; one that is no JSON object gives them too, and says so.
    static Settings parse(std::string_view text, std::vector<std::string>& problems);

    bool operator==(const Settings& other) const;
};

/// One setting, by which it is listed, checked and printed.
struct SettingRule {
    std::string_view name;
    std::string_view meaning; ///< for people: a line
    std::string_view values;  ///< what it takes, for people: "on or off", "seconds, 0 to 86400"

    /// The value in force, as it is written: a number, or "on" and "off".
    nlohmann::json (*get)(const Settings& settings);

    /// Takes the value over, and returns whether it is one that the setting takes.
    bool (*set)(Settings& settings, const nlohmann::json& value);
};

/// All settings, in the order in which they are listed.
std::span<const SettingRule> settingRules();

/// Null when there is none of that name.
const SettingRule* settingRule(std::string_view name);

} // namespace quorvik
