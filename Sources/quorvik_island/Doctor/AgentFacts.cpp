#include "quorvik_island/Doctor/AgentFacts.h"

#include "quorvik_island/Doctor/CodexReview.h"

#include "QuorvikCore/Install/SettingsDocument.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Platform/RunProgram.h"

#include <algorithm>
#include <array>

namespace quorvik::Doctor {

namespace {

constexpr std::string_view claude[] = {"claude"}, codex[] = {"codex"}, grok[] = {"grok"},
                           commandCode[] = {"commandcode", "command-code"}, devin[] = {"devin"},
                           qwen[] = {"qwen"}, copilot[] = {"copilot"}, pi[] = {"pi"}, kimi[] = {"kimi"};
constexpr AgentFacts::FolderVariable claudeFolder[] = {{"CLAUDE_CONFIG_DIR", ".claude"}},
                                     codexFolder[] = {{"CODEX_HOME", ".codex"}},
                                     qwenFolder[] = {{"QWEN_HOME", ".qwen"}},
                                     copilotFolder[] = {{"COPILOT_HOME", ".copilot"}};

// Claude Code up to 2.1.77 runs no hook at all when one of the events in its settings is not known to it.
constexpr AgentFacts facts[] = {
    {Source::claude, claude, "2.1.329", "2.1.78", "StopFailure", true, {}, claudeFolder},
    {Source::codex, codex, "0.169.0", "", "", false, {}, codexFolder},
    {Source::grok, grok, "", "", "", false, Source::claude},
    {Source::commandcode, commandCode, "", "", ""},
    {Source::devin, devin, "", "", ""},
    {Source::qwen, qwen, "0.24.4", "", "", false, {}, qwenFolder},
    {Source::copilot, copilot, "1.0.102", "", "", false, {}, copilotFolder},
    {Source::pi, pi, "0.73.1", "", ""},
    {Source::kimi, kimi, "", "", ""},
};

/// Where the machine's owner says what holds for every user of Claude Code, on Linux and on macOS.
constexpr std::string_view managedByOthers[] = {
    "/etc/claude-code/managed-settings.json",
    "/Library/Application Support/ClaudeCode/managed-settings.json"};

std::optional<std::string> textOf(const std::filesystem::path& file) {
    return Files::read(file, UserFileEdit::maxFileSize);
}

/// Whether the member of a JSON file is true.
bool isSet(const std::filesystem::path& file, std::string_view member) {
    const auto text = textOf(file);
    if (!text) return false;
    try {
        const auto document = SettingsDocument::parse(text);
        const JSONValue* value = document.root[member];
        return value && value->boolValue() == true;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace

const AgentFacts& AgentFacts::of(Source agent) {
    return *std::ranges::find(facts, agent, &AgentFacts::agent);
}

std::optional<std::filesystem::path> AgentFacts::program() const {
    for (const std::string_view name : programs)
        if (auto found = Platform::findProgram(name)) return found;
    return std::nullopt;
}

std::vector<std::filesystem::path> AgentFacts::furtherFiles(const std::filesystem::path& own) const {
    std::vector<std::filesystem::path> files;
    const auto folder = own.parent_path();
    if (agent == Source::codex) files.push_back(folder / "config.toml");
    if (agent == Source::copilot) files.push_back(folder.parent_path() / "settings.json");
    if (agent == Source::copilot || agent == Source::grok) { // both read every file of the folder
        std::error_code end;
        for (std::filesystem::directory_iterator entry(folder, end), none; !end && entry != none;
             entry.increment(end))
            if (entry->path() != own && entry->path().extension() == ".json") files.push_back(entry->path());
        std::ranges::sort(files);
    }
    return files;
}

std::vector<AgentFacts::Switch> AgentFacts::switchesOff(const HookTarget& target) const {
    constexpr std::string_view allOff = "disableAllHooks";
    std::vector<Switch> found;
    const auto look = [&](std::string_view member, const std::filesystem::path& file, bool isUsers) {
        if (isSet(file, member)) found.push_back({std::string(member), file, isUsers});
    };
    const auto folder = target.fileURL.parent_path();
    if (target.kind == HookTarget::Kind::json || target.kind == HookTarget::Kind::copilot)
        look(allOff, target.fileURL, true);
    if (agent == Source::claude) {
        for (const std::string_view file : managedByOthers) {
            look(allOff, file, false);
            look("allowManagedHooksOnly", file, false);
        }
    }
    if (agent == Source::copilot) look(allOff, folder.parent_path() / "settings.json", true);
    if (agent == Source::codex && CodexReview::areHooksOff(textOf(folder / "config.toml").value_or("")))
        found.push_back({"features.hooks", folder / "config.toml"});
    return found;
}

} // namespace quorvik::Doctor
