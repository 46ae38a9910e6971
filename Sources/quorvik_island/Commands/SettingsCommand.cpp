#include "quorvik_island/Commands/SettingsCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/CommandLine/NearestName.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"
#include "QuorvikApp/Model/Settings.h"

#include "QuorvikCore/Install/SettingsDocument.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Text/Unicode.h"

#include <utility>

namespace quorvik::SettingsCommand {

namespace {

std::string shown(const nlohmann::json& value) {
    if (value.is_string()) return value.get<std::string>();
    const std::string number = value.dump(); // of a whole number of seconds "10.0"
    return number.ends_with(".0") ? number.substr(0, number.size() - 2) : number;
}

/// The value as it is written into the file: a number as it was typed. Throws UsageError.
JSONValue written(const SettingRule& rule, const std::string& typed) {
    const auto number = parseJSON(typed);
    const bool isNumber = number && number->is_number();
    Settings checked;
    if (!rule.set(checked, isNumber ? *number : nlohmann::json(typed)))
        throw UsageError("settings: " + std::string(rule.name) + " must be " + std::string(rule.values));
    return isNumber ? JSONValue::number(typed) : JSONValue::string(typed);
}

/// Sets the setting in the file, or removes it. Readers take the last of members with the same name, so all
/// but the first are removed.
void change(const SettingRule& rule, const std::optional<JSONValue>& value) {
    using Decision = UserFileEdit::Decision;
    const auto file = QuorvikPaths::settingsFile();
    QuorvikPaths::ensureDirectory(file.parent_path());
    const auto decide = [&](const UserFileEdit::Content& content) {
        SettingsDocument document = SettingsDocument::parse(content);
        const SettingsDocument before = document;
        bool isSeen = !value;
        std::erase_if(*document.root.objectValue(), [&](const JSONMember& member) {
            return member.key == rule.name && std::exchange(isSeen, true);
        });
        if (value) document.root.setMember(rule.name, value);
        return before.root == document.root ? Decision::keep() : Decision::write(document.print());
    };
    try {
        UserFileEdit::edit(file, decide, {});
    } catch (const JSONParseError& error) {
        throw EditError(file.string() + ": " + error.what());
    } catch (const EditError& error) {
        throw EditError(file.string() + ": " + error.what());
    }
}

/// Waits until a running app has taken over the change. One that does not answer will see the change by
/// itself.
void tellApp() {
    try {
        ControlClient::connect("command", ControlClient::Start::never)
            .call("sync", nlohmann::json::object(), ControlClient::Seconds(2));
    } catch (const std::exception&) {
    }
}

Settings load(Console& console) {
    std::vector<std::string> problems;
    const auto content = UserFileEdit::read(QuorvikPaths::settingsFile());
    const Settings settings = Settings::parse(content.value_or(""), problems);
    for (const std::string& problem : problems)
        console.note(problem);
    return settings;
}

void print(const Settings& settings, const SettingRule* only, Console& console) {
    nlohmann::json values = nlohmann::json::object();
    std::string lines;
    for (const SettingRule& rule : settingRules()) {
        if (only && only != &rule) continue;
        const nlohmann::json value = rule.get(settings);
        values[std::string(rule.name)] = value;
        lines += only ? shown(value)
                      : std::string(rule.name) + "\t" + shown(value) + "\t" + std::string(rule.meaning);
        lines += '\n';
    }
    console.text(lines);
    console.value(values);
}

std::string didYouMean(const std::string& name) {
    std::vector<std::string_view> names;
    for (const SettingRule& rule : settingRules())
        names.push_back(rule.name);
    return NearestName::question(name, names);
}

} // namespace

int run(const Arguments& arguments) {
    const auto& words = arguments.words;
    const bool toDefault = arguments.has("--default");
    if (toDefault && words.size() != 1) throw UsageError("settings: --default goes with one name");
    const SettingRule* rule = words.empty() ? nullptr : settingRule(words.front());
    if (!words.empty() && !rule)
        throw UsageError("settings: there is no setting " + words.front() + didYouMean(words.front()));

    Console console(arguments.has("--json"));
    if (toDefault || words.size() == 2) {
        change(*rule, toDefault ? std::nullopt : std::optional(written(*rule, words[1])));
        tellApp();
    }
    print(load(console), rule, console);
    return console.exitStatus();
}

} // namespace quorvik::SettingsCommand
