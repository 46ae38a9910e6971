#include "quorvik_island/OpenItem.h"

#include "QuorvikCore/Platform/Desktop.h"
#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/RunProgram.h"
#include "QuorvikCore/Text/Unicode.h"

#include <unistd.h>

#include <array>
#include <filesystem>
#include <system_error>

namespace quorvik {

namespace {

using Command = std::vector<std::string>;

/// Runs a command in our place. Throws OpenError when it cannot be started or fails.
void runHere(const Command& command, const std::string& name) {
    const Platform::ProgramEnd end = Platform::runProgram(command);
    if (end.startError != 0)
        throw OpenError("could not start " + name + ": " + std::generic_category().message(end.startError));
    if (end.status != 0) throw OpenError(name + " ended with status " + std::to_string(end.status));
}

struct Pane {
    std::string id;      ///< "%3"
    std::string session; ///< "$1"
    bool isAttached = false;
};

/// The tmux pane that has this terminal.
std::optional<Pane> paneOf(std::string_view tty) {
    constexpr std::size_t most = 1 << 20; // bytes
    const auto listed = Platform::programOutput(
        {"tmux", "list-panes", "-a", "-F", "#{pane_tty} #{pane_id} #{session_id} #{session_attached}"}, most);
    if (!listed) return std::nullopt;
    for (std::string_view rest = *listed; !rest.empty();) {
        std::string_view line = Unicode::takeLine(rest);
        std::array<std::string_view, 4> words;
        for (std::string_view& word : words) {
            word = line.substr(0, line.find(' '));
            line.remove_prefix(std::min(word.size() + 1, line.size()));
        }
        if (words[0] == tty) return Pane{std::string(words[1]), std::string(words[2]), words[3] != "0"};
    }
    return std::nullopt;
}

bool goToPane(const SessionRecord& record) {
    if (!record.host.tmux || !record.host.tty) return false;
    const auto pane = paneOf(*record.host.tty);
    if (!pane) return false;
    if (!Platform::environmentValue("TMUX").empty()) {
        runHere({"tmux", "switch-client", "-t", pane->id}, "tmux");
        return true;
    }
    runHere({"tmux", "select-window", "-t", pane->id, ";", "select-pane", "-t", pane->id}, "tmux");
    if (!pane->isAttached && ::isatty(STDOUT_FILENO) == 1)
        runHere({"tmux", "attach-session", "-t", pane->session}, "tmux");
    return true;
}

void openOnDesktop(const std::string& what) {
    const std::string program(Platform::desktopOpener());
    runHere({program, what}, program);
}

bool showLog(const SessionRecord& record, bool onDesktop) {
    std::error_code gone;
    if (!record.logPath || !std::filesystem::is_regular_file(*record.logPath, gone)) return false;
    const std::string file = std::filesystem::absolute(*record.logPath).string();
    if (onDesktop) {
        openOnDesktop(file);
        return true;
    }
    // $PAGER is a command line of the user's; the path is passed to it as an argument, never as a part of its
    // text.
    std::string pager = Platform::environmentValue("PAGER");
    if (pager.empty()) pager = "less";
    // Ctrl-C is the pager's own affair; without a trap the shell would end by it once the pager has ended.
    runHere({"sh", "-c", "trap : INT\n" + pager + " \"$@\"", pager, file}, "the pager");
    return true;
}

bool isWebAddress(std::string_view text) {
    return text.starts_with("http://") || text.starts_with("https://");
}

/// Opens web addresses and absolute paths only: other addresses may make a program do things.
bool showPage(const SessionRecord& record) {
    for (const auto* place : {&record.openURL, &record.webURL}) {
        if (!*place || (!isWebAddress(**place) && !(*place)->starts_with('/'))) continue;
        openOnDesktop(**place);
        return true;
    }
    return false;
}

} // namespace

void openItem(const SessionRecord& record, bool onDesktop) {
    if (goToPane(record) || showLog(record, onDesktop) || showPage(record)) return;
    throw OpenError(record.key() + " has no terminal in tmux, no log and no page");
}

} // namespace quorvik
