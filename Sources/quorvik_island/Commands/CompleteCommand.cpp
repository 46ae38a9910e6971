#include "quorvik_island/Commands/CompleteCommand.h"

#include "quorvik_island/CommandLine/Completion.h"
#include "quorvik_island/CommandLine/CompletionScript.h"
#include "quorvik_island/Commands/RequestsCommand.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"
#include "QuorvikApp/Model/Settings.h"

#include "QuorvikCore/Text/Unicode.h"

#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>

namespace quorvik::CompleteCommand {

namespace {

using Value = Completion::Value;
using Values = std::vector<Value>;

/// Ends the program, quietly, when it has taken too long for somebody who waits at a prompt.
void limitTime() {
    std::signal(SIGALRM, [](int) { ::_exit(exitSuccess); });
    const itimerval limit{{0, 0}, {0, 800'000}}; // microseconds
    ::setitimer(ITIMER_REAL, &limit, nullptr);
}

Snapshot snapshot() {
    constexpr ControlClient::Seconds patience(0.5);
    return ControlClient::connect("command", ControlClient::Start::never, patience).snapshot();
}

void addItems(const Snapshot& snapshot, Values& values) {
    for (const SnapshotItem* item : snapshot.items())
        values.push_back({item->id(), std::string(mark(item->record->source)) + " " +
                                          std::string(rawValue(item->display)) + ", " +
                                          itemLabel(*item->record)});
}

void addRequests(const Snapshot& snapshot, Values& values) {
    for (const auto& waiting : snapshot.requests)
        values.push_back({waiting->request.id, std::string(mark(waiting->request.source)) + " " +
                                                   RequestsCommand::what(waiting->request)});
}

Values settings() {
    Values values;
    for (const SettingRule& rule : settingRules())
        values.push_back({std::string(rule.name), std::string(rule.meaning)});
    return values;
}

/// Those of a switch: what other settings take cannot be listed.
Values valuesOf(const SettingRule* rule) {
    const nlohmann::json usual = rule ? rule->get(Settings()) : nlohmann::json();
    if (usual == "on" || usual == "off") return {{"on", ""}, {"off", ""}};
    return {};
}

Values agents() {
    Values values;
    for (const Source source : agentSources())
        values.push_back({std::string(rawValue(source)), std::string(displayName(source))});
    return values;
}

Values look(Completes what, const std::string& before) {
    Values values;
    switch (what) {
    case Completes::agent: return agents();
    case Completes::setting: return settings();
    case Completes::settingValue: return valuesOf(settingRule(before));
    case Completes::item: addItems(snapshot(), values); break;
    case Completes::request: addRequests(snapshot(), values); break;
    case Completes::alert:
        for (const ShownAlert& shown : snapshot().alerts)
            if (shown.alert.id) values.push_back({*shown.alert.id, shown.alert.title});
        break;
    case Completes::itemOrRequest: {
        const Snapshot now = snapshot();
        addItems(now, values);
        addRequests(now, values);
        break;
    }
    default: break;
    }
    return values;
}

/// Whether no shell takes any of its characters for something else. Other keys are not offered: what one
/// shell quotes another would run.
bool isPlain(std::string_view word) {
    return std::ranges::all_of(word, [](char each) {
        const bool isLetter = ('a' <= each && each <= 'z') || ('A' <= each && each <= 'Z');
        const bool isDigit = '0' <= each && each <= '9';
        return isLetter || isDigit || (each != 0 && std::strchr("-_.:/@%+=,", each));
    });
}

/// One line, short, and with nothing that drives a terminal or ends the value.
std::string shown(const std::string& description) {
    constexpr std::size_t most = 70; // columns
    const std::string line = Unicode::terminalLine(description);
    const std::string_view start = Unicode::firstColumns(line, most);
    return start.size() < line.size() ? std::string(start) + "…" : line;
}

std::string answer(const Completion& completion, const std::string& start, std::size_t cut, bool describes) {
    constexpr std::size_t most = 200;
    switch (completion.kind) {
    case Completion::Kind::files: return "files\n";
    case Completion::Kind::commandLine:
        return "command " + std::to_string(completion.commandLineStart) + "\n";
    case Completion::Kind::values: break;
    }
    std::string lines;
    std::size_t count = 0;
    for (const Value& value : completion.values) {
        if (!isPlain(value.text) || !value.text.starts_with(start) || count++ == most) continue;
        lines += value.text.substr(cut);
        if (describes && !value.description.empty()) lines += "\t" + shown(value.description);
        lines += '\n';
    }
    return lines.empty() ? "" : "values\n" + lines;
}

std::string answerFor(std::span<const std::string> words) {
    const auto shell = fromRawValue<Shell>(words.empty() ? "" : words.front());
    if (!shell) return "";
    if (*shell != Shell::bash) return answer(Completion::at(words.subspan(1), look), "", 0, true);
    if (words.size() != 3) return "";
    const SplitLine line = SplitLine::of(words[1]);
    const std::string& current = line.words.back();
    // Bash replaces only what stands behind the last of these characters.
    std::size_t cut = 0;
    for (std::size_t index = 0; index < current.size() && !line.isQuoted; ++index)
        if ((current[index] == ':' || current[index] == '=') &&
            words[2].find(current[index]) != words[2].npos)
            cut = index + 1;
    return answer(Completion::at(line.words, look), current, cut, false);
}

} // namespace

int run(const Arguments& arguments) {
    limitTime();
    try {
        Console(false).text(answerFor(arguments.words));
    } catch (const std::exception&) {
        // No app, or one that does not answer: there is nothing to offer.
    }
    return exitSuccess;
}

} // namespace quorvik::CompleteCommand
