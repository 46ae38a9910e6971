#include "QuorvikCore/Install/HookInstaller.h"

#include "QuorvikCore/Install/HookFormat.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Session/HookLedger.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Text/ShellQuoting.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <exception>

namespace quorvik {

const HookFormat& HookFormat::of(HookTarget::Kind kind) {
    switch (kind) {
    case HookTarget::Kind::json: return jsonHookFormat();
    case HookTarget::Kind::copilot: return copilotHookFormat();
    case HookTarget::Kind::kimiTOML: return kimiHookFormat();
    case HookTarget::Kind::piExtension: return piHookFormat();
    }
    return jsonHookFormat();
}

void HookFormat::requireUTF8(std::string_view text) {
    if (Unicode::repaired(text) != text) throw EditError("not UTF-8");
}

namespace HookInstaller {

namespace {

/// Whether the agent's hooks run in a shell that is its direct child, so that $PPID is the agent.
bool knowsItsProcess(Source source) {
    return source == Source::claude || source == Source::codex;
}

/// Refuses a path that some format could not hold, or that we would not know again. The rule is the same for
/// all formats.
void requireUsable(const HookTarget& target, const std::string& hookPath) {
    const bool isPlain =
        std::ranges::none_of(hookPath, [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; });
    if (!isPlain || Unicode::repaired(hookPath) != hookPath)
        throw EditError("the path of the hook program must be UTF-8 without control characters");
    if (!isManaged(command(target.source, hookPath)))
        throw EditError(
            "the path of the hook program must contain \"quorvik-hook\", which tells our hooks from "
            "others: " +
            hookPath);
}

UserFileEdit::Options options(const HookTarget& target) {
    if (!HookFormat::of(target.kind).needsBackup()) return {};
    return {.backupName = target.backupName()};
}

} // namespace

std::string command(Source source, std::string_view hookPath) {
    std::string line = std::string(QuorvikPaths::managedMarker) + " " + shellQuoted(hookPath) + " --source " +
                       std::string(rawValue(source));
    if (knowsItsProcess(source)) line += " --ppid \"$PPID\"";
    return line;
}

bool isManaged(std::string_view command) {
    return command.find(QuorvikPaths::managedMarker) != command.npos &&
           command.find(QuorvikPaths::hookBinaryName) != command.npos;
}

std::optional<std::string> program(std::string_view command) {
    // The assignments that we write need no quotes; so a word with "=" in front of the program is one.
    for (;;) {
        command.remove_prefix(std::min(command.find_first_not_of(' '), command.size()));
        const std::string_view word = command.substr(0, command.find(' '));
        if (word.find_first_of("'\"\\") != word.npos || word.find('=') == word.npos) break;
        command.remove_prefix(word.size());
    }
    std::string path;
    char quote = 0;
    for (std::size_t at = 0; at < command.size(); ++at) {
        const char byte = command[at];
        if (quote == '\'' && byte != quote) {
            path += byte;
        } else if (byte == quote) {
            quote = 0;
        } else if (quote == 0 && (byte == '\'' || byte == '"')) {
            quote = byte;
        } else if (byte == '\\' && at + 1 < command.size()) {
            path += command[++at];
        } else if (quote == 0 && byte == ' ') {
            break;
        } else if (std::string_view("$`;&|<>()*?[").find(byte) != std::string_view::npos) {
            return std::nullopt; // only a shell could tell
        } else {
            path += byte;
        }
    }
    if (path.empty() || quote != 0) return std::nullopt;
    return path;
}

std::vector<Entry> entries(const HookTarget& target) {
    const auto text = UserFileEdit::read(target.fileURL);
    return text ? HookFormat::of(target.kind).entries(target, *text) : std::vector<Entry>();
}

Status status(const HookTarget& target, const std::string& hookPath) {
    try {
        const auto text = UserFileEdit::read(target.fileURL);
        if (!text) return {Status::Kind::notInstalled, {}};
        const Status::Kind kind = HookFormat::of(target.kind).status(target, *text, hookPath);
        if (kind == Status::Kind::installed && !Files::isExecutable(hookPath))
            return {Status::Kind::stale, {}};
        return {kind, {}};
    } catch (const std::exception& error) {
        return {Status::Kind::unreadable, error.what()};
    }
}

EditOutcome install(const HookTarget& target, const std::string& hookPath) {
    requireUsable(target, hookPath);
    const auto decide = [&](const UserFileEdit::Content& text) {
        return UserFileEdit::Decision::write(HookFormat::of(target.kind).installed(target, text, hookPath));
    };
    const EditOutcome done = UserFileEdit::edit(target.fileURL, decide, options(target));
    if (!done.isSame) HookLedger::noteInstall(target.source, std::chrono::system_clock::now());
    return done;
}

EditOutcome uninstall(const HookTarget& target) {
    const auto decide = [&](const UserFileEdit::Content& text) {
        return text ? HookFormat::of(target.kind).uninstalled(target, *text) : UserFileEdit::Decision::keep();
    };
    return UserFileEdit::edit(target.fileURL, decide, options(target));
}

} // namespace HookInstaller
} // namespace quorvik
