#include "quorvik_cli/ShellCommand.h"

#include "quorvik_cli/CommandSession.h"

#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Session/ProcessInspector.h"
#include "QuorvikCore/Shell/ShellCommandFilter.h"
#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Text/Redactor.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>
#include <map>

namespace quorvik::ShellCommand {

namespace {

constexpr std::string_view startEvent = "shell-start";
constexpr std::string_view endEvent = "shell-end";
constexpr std::size_t longestTool = 80; // characters; a "word" of pasted data must not fill the record

struct Options {
    std::map<std::string, std::string, std::less<>> values; ///< by name, without dashes; the last counts
    std::string commandLine;

    std::optional<std::string> value(std::string_view name) const {
        const auto found = values.find(name);
        return found == values.end() ? std::nullopt : std::optional(found->second);
    }
};

/// Unknown options are accepted, each with a value, so that newer scripts work too.
Options parse(std::span<const std::string> words) {
    Options options;
    for (std::size_t index = 0; index < words.size(); ++index) {
        if (words[index] == "--") {
            options.commandLine = CommandSession::commandLine(words.subspan(index + 1));
            break;
        }
        if (!words[index].starts_with("--") || index + 1 == words.size()) continue;
        options.values[words[index].substr(2)] = words[index + 1];
        ++index;
    }
    return options;
}

/// One valid report of the shell.
struct Report {
    std::int32_t pid;
    Date startedAt;
    std::optional<std::int32_t> exitCode; ///< absent for a start
    std::string cwd;
    std::string commandLine;

    bool isEnd() const { return exitCode.has_value(); }
    bool failed() const { return isEnd() && *exitCode != 0 && !CommandSession::wasStopped(*exitCode); }
};

/// Absent when the report is not valid, or lacks what a true record needs.
std::optional<Report> understood(std::string_view event, const Options& options) {
    if (event != "start" && event != "end") return std::nullopt;
    const auto pid = Number::integer<std::int32_t>(options.value("pid").value_or(""));
    const auto start = Number::finite(options.value("start").value_or(""));
    auto exitCode = Number::integer<std::int32_t>(options.value("exit").value_or(""));
    if (!pid || !start || (event == "end" && !exitCode)) return std::nullopt;
    if (event == "start") exitCode.reset();
    const Date startedAt{std::chrono::duration<double>(*start)};
    auto cwd = options.value("cwd");
    return Report{*pid, startedAt, exitCode, cwd ? *cwd : CommandSession::currentFolder(),
                  options.commandLine};
}

/// The command behind leading assignments; the whole line when there are only words with "=".
std::string_view commandWord(std::string_view commandLine) {
    const auto words = ShellCommandFilter::words(commandLine);
    const auto word =
        std::ranges::find_if(words, [](std::string_view each) { return each.find('=') == each.npos; });
    return word == words.end() ? commandLine : *word;
}

std::string toolName(std::string_view commandLine) {
    const std::string name = Files::lastComponent(commandWord(commandLine));
    return std::string(Unicode::firstCharacters(name, longestTool));
}

/// What the record shows of the command.
struct Shown {
    explicit Shown(const std::string& line)
        : provider(ShellCommandFilter::deployProvider(line)), tool(provider ? "Deploy" : toolName(line)),
          commandLine(Redactor::redact(line)) {}

    std::string summary() const { return provider ? std::string(*provider) : commandLine; }
    std::string failure(int status) const {
        return (provider ? std::string(*provider) + ": " : "") + "exit " + std::to_string(status);
    }

    std::optional<std::string_view> provider;
    std::string tool;
    std::string commandLine; ///< fit to be shown
};

void applyStart(SessionRecord& record, const Report& report, const Shown& shown, Date now) {
    record.state = SessionState::working;
    record.summary = shown.summary();
    record.detail.reset();
    record.exitCode.reset();
    record.stateSince = report.startedAt;
    record.updatedAt = now;
    record.lastEvent = startEvent;
}

void applyEnd(SessionRecord& record, const Report& report, const Shown& shown, Date now) {
    const int status = *report.exitCode;
    record.exitCode = status;
    if (status == 0) {
        record.state = SessionState::done;
        record.summary = shown.summary();
        record.detail.reset();
    } else {
        record.state = report.failed() ? SessionState::failed : SessionState::ended;
        record.summary = shown.failure(status);
        record.detail = shown.commandLine;
    }
    record.stateSince = record.updatedAt = now;
    record.lastEvent = endEvent;
}

} // namespace

void runShellEvent(std::span<const std::string> arguments) {
    if (arguments.empty()) return;
    const auto report = understood(arguments.front(), parse(arguments.subspan(1)));
    if (!report || !ShellCommandFilter::isTracked(report->commandLine, report->failed())) return;
    const auto shell = ProcessInspector::info(report->pid);
    if (!shell) return; // it was killed, and its start job runs on

    const Shown shown(report->commandLine);
    const HostInfo host = HostInfo::fromEnvironment(Platform::environment(), shell->tty);
    const Date now = CommandSession::now();
    CommandSession::publish(
        "sh-" + std::to_string(report->pid), report->cwd, now, [&](SessionRecord& record) {
            const bool ended = record.turnStartedAt == report->startedAt && record.lastEvent == endEvent;
            if (ended && !report->isEnd()) return; // a late start
            record.cwd = report->cwd;
            record.tool = shown.tool;
            record.turnStartedAt = report->startedAt;
            record.host = host;
            record.pid = report->pid;
            record.pidStartTime = shell->startTime;
            (report->isEnd() ? applyEnd : applyStart)(record, *report, shown, now);
        });
}

} // namespace quorvik::ShellCommand
