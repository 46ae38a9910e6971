#include "QuorvikCore/Install/ShellIntegration.h"

#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Text/ShellQuoting.h"

#include <algorithm>

namespace quorvik::ShellIntegration {

namespace {

// {CLI} and {MIN} stand for the quoted path of the program and the minimum.
constexpr std::string_view scriptTemplate =
    R"zsh(# Managed by Quorvik. Turn it off in Quorvik's settings; do not edit.
[[ -o interactive ]] || return 0
[[ -x {CLI} ]] || return 0
zmodload zsh/datetime 2>/dev/null || return 0
typeset -g _quorvik_cmd _quorvik_start _quorvik_job
typeset -gi _quorvik_min={MIN}

_quorvik_preexec() {
  _quorvik_cmd=$1
  _quorvik_start=$EPOCHSECONDS
  ( sleep $_quorvik_min; {CLI} shell start --pid $$ --start $_quorvik_start --cwd "$PWD" -- "$_quorvik_cmd" ) >/dev/null 2>&1 &!
  _quorvik_job=$!
}

_quorvik_precmd() {
  local code=$?
  [[ -n $_quorvik_job ]] && kill $_quorvik_job 2>/dev/null
  _quorvik_job=
  # A command that ran long enough, or a git command that failed however fast: the quorvik command decides.
  if [[ -n $_quorvik_cmd ]] && { (( EPOCHSECONDS - _quorvik_start >= _quorvik_min )) || { (( code != 0 )) && [[ $_quorvik_cmd == (git|*\ git)\ * ]] }; }; then
    ( {CLI} shell end --pid $$ --start $_quorvik_start --exit $code --cwd "$PWD" -- "$_quorvik_cmd" ) >/dev/null 2>&1 &!
  fi
  _quorvik_cmd=
  return $code
}

_quorvik_zshexit() { [[ -n $_quorvik_job ]] && kill $_quorvik_job 2>/dev/null }

preexec_functions+=(_quorvik_preexec)
zshexit_functions+=(_quorvik_zshexit)
precmd_functions=(_quorvik_precmd $precmd_functions)
)zsh";

constexpr std::string_view programPlace = "{CLI}";
constexpr std::string_view minimumPlace = "{MIN}";

/// The script around a program that is quoted already.
std::string filledIn(std::string_view quotedProgram, std::string_view minimum) {
    std::string text;
    for (std::string_view rest = scriptTemplate; !rest.empty();) {
        if (rest.starts_with(programPlace)) {
            text += quotedProgram;
            rest.remove_prefix(programPlace.size());
        } else if (rest.starts_with(minimumPlace)) {
            text += minimum;
            rest.remove_prefix(minimumPlace.size());
        } else {
            text += rest.front();
            rest.remove_prefix(1);
        }
    }
    return text;
}

/// What stands in `text` where the template has `place` for the first time: between what the template has
/// just before it and just after it on the same line. Empty when it is not there.
std::string_view foundAt(std::string_view place, std::string_view text) {
    const auto at = scriptTemplate.find(place);
    const auto lineStart = scriptTemplate.rfind('\n', at);
    const auto after = at + place.size();
    const auto before = scriptTemplate.substr(lineStart, at - lineStart);
    const auto start = text.find(before);
    if (start == text.npos) return {};
    text.remove_prefix(start + before.size());
    const auto next = scriptTemplate.substr(after, scriptTemplate.find('\n', after) + 1 - after);
    return text.substr(0, std::min(text.find(next), text.size()));
}

std::string sourceLine(const Path& script) {
    const std::string quoted = shellQuoted(script.native());
    return "[ -f " + quoted + " ] && source " + quoted;
}

std::string block(const Path& script) {
    return std::string(beginMarker) + "\n" + sourceLine(script) + "\n" + std::string(endMarker) + "\n";
}

bool isMarker(std::string_view line, std::string_view marker) {
    constexpr std::string_view blanks = " \t\r";
    const auto start = std::min(line.find_first_not_of(blanks), line.size());
    const auto end = line.find_last_not_of(blanks);
    return line.substr(start, end + 1 - start) == marker;
}

/// The text without our blocks. Whatever is not clearly a block of ours is not ours to delete.
std::string withoutBlocks(std::string_view text, const Path& rc) {
    const auto refuse = [&](std::string_view why) {
        throw EditError(rc.string() + ": " + std::string(why) + "; delete the lines of Quorvik by hand");
    };
    std::vector<std::string_view> kept;
    bool inBlock = false, found = false;
    for (std::size_t start = 0; start <= text.size();) {
        const std::string_view line = text.substr(start, text.find('\n', start) - start);
        start += line.size() + 1;
        if (isMarker(line, beginMarker)) {
            if (inBlock) break; // its own end is missing
            inBlock = found = true;
        } else if (inBlock) {
            inBlock = !isMarker(line, endMarker);
        } else {
            kept.push_back(line);
        }
    }
    if (inBlock) refuse("a line \"" + std::string(endMarker) + "\" is missing");
    if (!found) refuse("\"" + std::string(beginMarker) + "\" does not stand on a line of its own");
    std::string result;
    for (std::size_t index = 0; index < kept.size(); ++index)
        result.append(index == 0 ? "" : "\n").append(kept[index]);
    return result;
}

UserFileEdit::Options options(const Path& rc) {
    UserFileEdit::Options options;
    options.backupName = rc.filename().string();
    options.backupIsOptional = true;
    return options;
}

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != text.npos;
}

void compareScript(const std::string& found, std::string_view cli, int minSeconds, const Path& file,
                   std::vector<std::string>& differences) {
    const std::string quoted = shellQuoted(cli), minimum = std::to_string(minSeconds);
    if (found == filledIn(quoted, minimum)) return;
    const std::string_view foundProgram = foundAt(programPlace, found),
                           foundMinimum = foundAt(minimumPlace, found);
    if (!Number::integer<int>(foundMinimum) || found != filledIn(foundProgram, foundMinimum)) {
        differences.push_back(file.string() + " was edited, or is of another version");
        return;
    }
    if (foundProgram != quoted)
        differences.push_back(file.string() + " runs " + std::string(foundProgram) + ", not " + quoted);
    if (foundMinimum != minimum)
        differences.push_back(file.string() + " has a minimum of " + std::string(foundMinimum) +
                              " seconds, not " + minimum);
}

} // namespace

Path scriptURL() {
    return QuorvikPaths::supportDirectory() / "shell/quorvik.zsh";
}

Path zshrcURL() {
    const std::string folder = Platform::environmentValue("ZDOTDIR");
    return (folder.empty() ? QuorvikPaths::home() : Path(folder)) / ".zshrc";
}

std::string script(std::string_view cli, int minSeconds) {
    return filledIn(shellQuoted(cli), std::to_string(minSeconds));
}

EditOutcome install(std::string_view cli, int minSeconds, const Path& rc, const Path& script) {
    using Decision = UserFileEdit::Decision;
    QuorvikPaths::ensureDirectory(script.parent_path());
    const auto newScript = [&](const UserFileEdit::Content&) {
        return Decision::write(ShellIntegration::script(cli, minSeconds));
    };
    UserFileEdit::edit(script, newScript, {});

    const auto withBlock = [&](const UserFileEdit::Content& content) {
        std::string text = content.value_or("");
        if (contains(text, beginMarker)) return Decision::keep();
        if (!text.empty() && !text.ends_with('\n')) text += '\n';
        return Decision::write(text + block(script));
    };
    return UserFileEdit::edit(rc, withBlock, options(rc));
}

std::optional<int> installedMinimum(const Path& script) {
    const auto text = Files::read(script, UserFileEdit::maxFileSize);
    return text ? Number::integer<int>(foundAt(minimumPlace, *text)) : std::nullopt;
}

bool isInstalled(const Path& rc) {
    const auto text = Files::read(rc, UserFileEdit::maxFileSize);
    return text && contains(*text, beginMarker);
}

bool loads(const Path& rc, const Path& script) {
    const auto text = Files::read(rc, UserFileEdit::maxFileSize);
    return text && contains(*text, "\n" + sourceLine(script) + "\n");
}

EditOutcome remove(const Path& rc, const Path& script) {
    using Decision = UserFileEdit::Decision;
    const auto withoutOurs = [&](const UserFileEdit::Content& content) {
        if (!content || !contains(*content, beginMarker)) return Decision::keep();
        return Decision::write(withoutBlocks(*content, rc));
    };
    const EditOutcome change = UserFileEdit::edit(rc, withoutOurs, options(rc));
    std::error_code error;
    std::filesystem::remove(script, error);
    if (error) throw FileError("remove", script, error.value());
    return change;
}

Status status(std::string_view cli, int minSeconds, const Path& rc, const Path& script) {
    Status status;
    const auto rcText = UserFileEdit::read(rc);
    status.installed = rcText && contains(*rcText, beginMarker);
    if (!status.installed) return status;
    if (!loads(rc, script)) status.differences.push_back(rc.string() + " does not load " + script.string());
    if (const auto found = UserFileEdit::read(script))
        compareScript(*found, cli, minSeconds, script, status.differences);
    else
        status.differences.push_back(script.string() + " is missing");
    if (!Files::isExecutable(cli)) status.differences.push_back(std::string(cli) + " cannot be run");
    return status;
}

} // namespace quorvik::ShellIntegration
