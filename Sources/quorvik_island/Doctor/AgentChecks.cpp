#include "quorvik_island/Doctor/AgentChecks.h"

#include "quorvik_island/Doctor/AgentFacts.h"
#include "quorvik_island/Doctor/CodexReview.h"
#include "quorvik_island/Doctor/EventChecks.h"
#include "quorvik_island/Doctor/HookTrial.h"
#include "quorvik_island/Doctor/Sandbox.h"
#include "quorvik_island/ProgramPath.h"

#include "QuorvikApp/Control/Version.h"

#include "QuorvikCore/Agents/AgentDetection.h"
#include "QuorvikCore/Install/HookInstaller.h"
#include "QuorvikCore/Install/StatusLineInstaller.h"
#include "QuorvikCore/Platform/BuildInfo.h"
#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Platform/RunProgram.h"
#include "QuorvikCore/Text/HomePath.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace quorvik::Doctor::AgentChecks {

namespace {

constexpr std::chrono::seconds versionTime(5);
constexpr std::size_t mostTrials = 3; ///< of different command lines; an install leaves one

std::string shown(const std::filesystem::path& path) {
    return HomePath::abbreviated(path.native(), QuorvikPaths::home().native());
}

class AgentCheck {
  public:
    AgentCheck(Source agent, const HookLedger::Content& ledger, Findings& findings)
        : agent_(agent), target_(*HookTarget::target(agent)), ledger_(ledger), findings_(findings),
          name_(displayName(agent)),
          install_("quorvik-island hooks install " + std::string(rawValue(agent))) {}

    void run() {
        if (!isHere()) return;
        version();
        if (!readEntries()) return;
        statusLine();
        if (entries_.empty())
            return findings_.note(id("settings"), name_ + ": not connected with Quorvik", install_);
        const bool canRun = programs();
        current();
        doubled();
        switchedOff();
        if (agent_ == Source::codex) review();
        if (canRun) fires();
        EventChecks::run(agent_, ledger_, findings_);
    }

  private:
    std::string id(std::string_view check) const { return agentCheck(agent_, check); }

    bool isHere() {
        const auto folder = *AgentDetection::configDirectory(agent_, QuorvikPaths::home());
        std::error_code ignored;
        if (std::filesystem::is_directory(folder, ignored)) return true;
        findings_.note(id("here"), name_ + ": there is no folder " + shown(folder));
        return false;
    }

    void version() {
        const AgentFacts& facts = AgentFacts::of(agent_);
        const auto program = facts.program();
        if (!program)
            return findings_.note(id("version"),
                                  name_ + ": the program is not on your PATH, only its settings are here");
        std::string why;
        const auto version = versionOf(program->string(), versionTime, &why);
        if (!version)
            return findings_.warn(id("version"), name_ + ": " + shown(*program) + " --version: " + why,
                                  "see whether " + name_ + " itself works");
        if (Version::isOlder(*version, facts.knowsOurEvents)) {
            const std::string words =
                name_ + " " + *version + " does not know " + std::string(facts.newestEvents);
            const std::string advice =
                "update " + name_ + " to " + std::string(facts.knowsOurEvents) + " or newer";
            if (facts.refusesUnknown)
                return findings_.bad(
                    id("version"), words + ", and takes no hook of a file that names what it does not know",
                    advice + ", or take our hooks out until then: quorvik-island hooks uninstall " +
                        std::string(rawValue(agent_)));
            return findings_.warn(id("version"), words, advice);
        }
        if (!facts.triedWith.empty() && Version::isOlder(*version, facts.triedWith))
            return findings_.note(id("version"), name_ + " " + *version + " is older than " +
                                                     std::string(facts.triedWith) +
                                                     ", with which Quorvik was tried");
        findings_.well(id("version"), name_ + " " + *version);
    }

    bool readEntries() {
        try {
            entries_ = HookInstaller::entries(target_);
        } catch (const std::exception& error) {
            const std::string where = shown(target_.fileURL) + " cannot be read: ";
            findings_.bad(id("settings"), name_ + ": " + where + error.what(),
                          "mend that file, or move it away; until then our hooks cannot be told");
            return false;
        }
        for (const auto& entry : entries_)
            commands_.insert(entry.command);
        return true;
    }

    /// Whether all that the settings point to can be run.
    bool programs() {
        bool canRun = true;
        std::set<std::string> programs;
        for (const std::string& command : commands_)
            programs.insert(HookInstaller::program(command).value_or(""));
        for (const std::string& program : programs) {
            const std::string where = program.empty() ? "a command line that is not as we write it" : program;
            if (!Files::isExecutable(program)) {
                canRun = false;
                findings_.bad(id("program"),
                              name_ + ": its settings point to " + where +
                                  (program.empty() ? "" : ", which cannot be run"),
                              install_);
                continue;
            }
            const auto version = versionOf(program, versionTime);
            if (version && *version != BuildInfo::version())
                findings_.warn(id("program"),
                               name_ + ": its settings point to " + where + ", which is version " + *version +
                                   ", not " + std::string(BuildInfo::version()),
                               install_);
            else
                findings_.well(id("program"), name_ + ": its settings point to " + where);
        }
        return canRun;
    }

    /// Compares with what an install would leave for the program that the settings name.
    void current() {
        const std::string program = HookInstaller::program(entries_.front().command).value_or("");
        const auto status = HookInstaller::status(target_, program);
        std::set<std::string> registered;
        std::vector<std::string> missing, unknown;
        for (const auto& entry : entries_)
            if (registered.insert(entry.event).second && !entry.event.empty() &&
                std::ranges::find(target_.events, entry.event) == target_.events.end())
                unknown.push_back(entry.event);
        for (const std::string& event : target_.events)
            if (!registered.contains(event) && !registered.contains("")) missing.push_back(event);
        const std::string where = name_ + ": our hooks in " + shown(target_.fileURL);
        if (!unknown.empty())
            findings_.warn(id("events"),
                           where + " are registered for " + listed(unknown) +
                               ", which this version does not know",
                           install_);
        if (!missing.empty())
            return findings_.warn(id("settings"), where + " are out of date: none for " + listed(missing),
                                  install_);
        // A program that is missing makes them outdated as well, but that has been said.
        const bool isOutdated =
            status.kind == HookInstaller::Status::Kind::stale && Files::isExecutable(program);
        if (isOutdated || commands_.size() > 1)
            return findings_.warn(id("settings"), where + " are not as this version writes them", install_);
        findings_.well(id("settings"), where + " are up to date");
    }

    void doubled() {
        std::vector<std::string> twice;
        std::set<std::string> seen;
        for (const auto& entry : entries_)
            if (!seen.insert(entry.event).second && std::ranges::find(twice, entry.event) == twice.end())
                twice.push_back(entry.event);
        if (!twice.empty())
            findings_.warn(id("doubled"),
                           name_ + ": " + shown(target_.fileURL) + " holds our hook twice for " +
                               listed(twice),
                           install_ + " leaves one of each");
        for (const auto& file : AgentFacts::of(agent_).furtherFiles(target_.fileURL)) {
            const auto text = Files::read(file, UserFileEdit::maxFileSize);
            if (!text || !HookInstaller::isManaged(*text)) continue;
            findings_.warn(id("doubled"),
                           name_ + ": " + shown(file) + " holds hooks of ours as well, so each runs twice",
                           "take the entries with QUORVIK_MANAGED=1 out of " + shown(file));
        }
        const auto& other = AgentFacts::of(agent_).alsoLoads;
        if (other && connected(*other))
            findings_.well(id("doubled"),
                           name_ + ": it also runs the hooks of " + std::string(displayName(*other)) +
                               "'s settings; what it sends that way is dropped, so nothing counts twice");
    }

    static bool connected(Source agent) {
        try {
            return !HookInstaller::entries(*HookTarget::target(agent)).empty();
        } catch (const std::exception&) {
            return false;
        }
    }

    void switchedOff() {
        for (const auto& off : AgentFacts::of(agent_).switchesOff(target_))
            findings_.bad(
                id("off"), name_ + ": hooks are switched off by " + off.member + " in " + shown(off.file),
                off.isUsers ? "set it otherwise in " + shown(off.file) : "ask whoever manages this machine");
        for (const auto& [variable, usual] : AgentFacts::of(agent_).folderVariables) {
            const std::string folder = Platform::environmentValue(std::string(variable).c_str());
            if (!folder.empty() && std::filesystem::path(folder) != QuorvikPaths::home() / usual)
                findings_.warn(
                    id("folder"),
                    name_ + ": " + std::string(variable) + " is " + folder +
                        ", so it reads its settings there, and our hooks are in " + shown(target_.fileURL),
                    "copy our hooks there, or start " + name_ + " without " + std::string(variable));
        }
    }

    void review() {
        using State = CodexReview::State;
        const auto config = target_.fileURL.parent_path() / "config.toml";
        const auto hooks = CodexReview::hooks(UserFileEdit::read(target_.fileURL).value_or(""),
                                              Files::read(config, UserFileEdit::maxFileSize).value_or(""),
                                              target_.fileURL.native());
        const auto count = [&](State state) {
            return static_cast<std::size_t>(std::ranges::count(hooks, state, &CodexReview::Hook::state));
        };
        const std::size_t open = count(State::pending) + count(State::changed);
        constexpr std::string_view howToReview = "start codex; where it says \"Hooks need review\", choose "
                                                 "\"Trust all and continue\" (later: type /hooks)";
        if (const std::size_t off = count(State::switchedOff); off > 0)
            findings_.bad(id("review"),
                          name_ + ": " + counted(off, "hook") + " of ours switched off in Codex",
                          "type /hooks in codex and switch them on");
        if (open == 0) {
            if (count(State::reviewed) == hooks.size())
                findings_.well(id("review"), name_ + ": it has your review of all hooks of ours");
            return;
        }
        const std::string words =
            count(State::pending) == open ? " wait for your review, none of these runs before that"
            : count(State::changed) == open
                ? " have changed since your review, none of these runs before another"
                : " are new or changed since your review, none of these runs before another";
        findings_.bad(id("review"),
                      name_ + ": " + std::to_string(open) + " of " + counted(hooks.size(), "hook") + words,
                      std::string(howToReview));
    }

    void fires() {
        std::size_t count = 0;
        for (const std::string& command : commands_) {
            if (++count > mostTrials) return; // they are not as we write them, which has been said
            const auto result = HookTrial::run(agent_, command);
            const auto shell = HookTrial::shellOf(agent_);
            const std::string tried =
                name_ + ": its hook, run with " + Files::lastComponent(shell.front()) + ", ";
            if (result.hasReported) {
                const auto milliseconds = std::lround(result.duration.count() * 1000);
                findings_.well(id("fires"), tried + "reports, in " + std::to_string(milliseconds) + " ms");
            } else {
                findings_.bad(id("fires"), tried + "does not report: " + result.failure,
                              "run it by hand to see why: " + command);
            }
        }
    }

    /// The status line is ours besides the hooks, and has a program of its own.
    void statusLine() {
        if (agent_ != Source::claude) return;
        const auto command = StatusLineInstaller::ownCommand(target_);
        const auto program = command ? HookInstaller::program(*command) : std::nullopt;
        if (command && !Files::isExecutable(program.value_or("")))
            findings_.bad(id("statusline"),
                          name_ + ": its status line points to " + program.value_or(*command) +
                              ", which cannot be run",
                          "quorvik-island statusline install");
    }

    Source agent_;
    HookTarget target_;
    const HookLedger::Content& ledger_;
    Findings& findings_;
    std::string name_, install_;
    std::vector<HookInstaller::Entry> entries_;
    std::set<std::string> commands_; ///< the different command lines of the entries
};

} // namespace

void run(Source agent, const HookLedger::Content& ledger, Findings& findings) {
    AgentCheck(agent, ledger, findings).run();
}

} // namespace quorvik::Doctor::AgentChecks
