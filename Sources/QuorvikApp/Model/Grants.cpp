#include "QuorvikApp/Model/Grants.h"

#include "QuorvikCore/Text/VisibleText.h"

#include <algorithm>
#include <array>
#include <initializer_list>

namespace quorvik {

namespace {

using Names = std::initializer_list<std::string_view>;

/// Thrown for a rule that has no words.
struct Unsayable {};

/// The members of an object, of which none may be left over: one that we do not know may change what the rule
/// means.
class Members {
  public:
    Members(const nlohmann::json& object, Names known) : object_(object) {
        if (!object.is_object()) throw Unsayable();
        for (const auto& [name, value] : object.items())
            if (std::ranges::find(known, name) == known.end()) throw Unsayable();
    }

    const nlohmann::json* find(const char* name) const {
        const auto found = object_.find(name);
        return found == object_.end() || found->is_null() ? nullptr : &*found;
    }

    std::string text(const char* name) const {
        const nlohmann::json* value = find(name);
        if (!value || !value->is_string() || value->get_ref<const std::string&>().empty()) throw Unsayable();
        return value->get<std::string>();
    }

    const nlohmann::json& list(const char* name) const {
        const nlohmann::json* value = find(name);
        if (!value || !value->is_array() || value->empty()) throw Unsayable();
        return *value;
    }

  private:
    const nlohmann::json& object_;
};

struct Words {
    std::string_view name, words;
};

std::string_view said(std::span<const Words> table, std::string_view name) {
    const auto found = std::ranges::find(table, name, &Words::name);
    if (found == table.end()) throw Unsayable();
    return found->words;
}

/// For how long and where a rule is kept.
constexpr std::array<Words, 4> destinations = {{
    {"session", "this session"},
    {"localSettings", "this project"},
    {"projectSettings", "this project, for everybody who works on it"},
    {"userSettings", "all projects"},
}};

constexpr std::array<Words, 3> behaviors = {
    {{"allow", "allow "}, {"deny", "refuse "}, {"ask", "always ask before "}}};

constexpr std::array<Words, 4> modes = {{
    {"acceptEdits", "accept all edits"},
    {"bypassPermissions", "run everything without asking"},
    {"default", "ask before edits and commands again"},
    {"plan", "only plan, and change nothing,"},
}};

std::string ruleWords(const nlohmann::json& rule, std::string_view behavior, std::string_view where) {
    const Members members(rule, {"toolName", "ruleContent"});
    const std::string tool = VisibleText::shown(members.text("toolName"));
    std::string words(behavior);
    if (!members.find("ruleContent"))
        words += "every use of " + tool;
    else if (const std::string content = VisibleText::shown(members.text("ruleContent")); tool == "Bash")
        words += "Bash commands that match " + content;
    else
        words += tool + " where it matches " + content;
    return words.append(" in ").append(where);
}

void say(const nlohmann::json& suggestion, std::vector<std::string>& sentences) {
    const auto type = suggestion.is_object() ? suggestion.value("type", nlohmann::json()) : nlohmann::json();
    if (type == "addRules") {
        const Members members(suggestion, {"type", "rules", "behavior", "destination"});
        const auto behavior = said(behaviors, members.text("behavior"));
        const auto where = said(destinations, members.text("destination"));
        for (const nlohmann::json& rule : members.list("rules"))
            sentences.push_back(ruleWords(rule, behavior, where));
    } else if (type == "setMode") {
        const Members members(suggestion, {"type", "mode", "destination"});
        const auto where = said(destinations, members.text("destination"));
        sentences.emplace_back(said(modes, members.text("mode"))).append(" in ").append(where);
    } else if (type == "addDirectories") {
        const Members members(suggestion, {"type", "directories", "destination"});
        const auto where = said(destinations, members.text("destination"));
        for (const nlohmann::json& directory : members.list("directories")) {
            if (!directory.is_string()) throw Unsayable();
            const std::string folder = VisibleText::shown(directory.get<std::string>());
            sentences.push_back("add the folder " + folder + " to " + std::string(where));
        }
    } else {
        throw Unsayable();
    }
}

} // namespace

bool ignoresBareAllow(const ApprovalRequest& request) {
    const std::string tool = request.tool.value_or("");
    return request.isQuestion() || Question::isTool(tool) || tool == "ExitPlanMode";
}

std::vector<std::string> grantsOf(const ApprovalRequest& request) {
    // Claude Code is the only agent that has been seen to keep the rules of a reply. Others fail on them, or
    // do not get them.
    if (request.source != Source::claude || !request.canAlwaysAllow() || ignoresBareAllow(request)) return {};
    const auto suggestions = parseJSON(*request.suggestions);
    if (!suggestions || !suggestions->is_array()) return {};
    std::vector<std::string> sentences;
    try {
        for (const nlohmann::json& suggestion : *suggestions)
            say(suggestion, sentences);
    } catch (const Unsayable&) {
        return {};
    }
    return sentences;
}

} // namespace quorvik
