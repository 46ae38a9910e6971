#include "quorvik_island/Screen.h"

#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Text/Unicode.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

namespace quorvik {

namespace {

std::size_t terminalColumns() {
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    const auto told = Number::integer<int>(Platform::environmentValue("COLUMNS"));
    return told && *told > 0 ? static_cast<std::size_t>(*told) : 80;
}

} // namespace

Screen Screen::ofStandardOutput() {
    if (::isatty(STDOUT_FILENO) == 0) return {};
    const std::string terminal = Platform::environmentValue("TERM");
    const bool plain =
        !Platform::environmentValue("NO_COLOR").empty() || terminal.empty() || terminal == "dumb";
    return {terminalColumns(), !plain};
}

void ScreenLine::add(std::string_view text, std::size_t width, std::string_view style) {
    if (left_ <= pending_) {
        left_ = 0;
        return;
    }
    std::string shown = Unicode::terminalLine(text);
    std::size_t columns = Unicode::columnCount(shown);
    if (const std::size_t room = std::min(left_ - pending_, width); columns > room) {
        shown = std::string(Unicode::firstColumns(shown, room - 1)) + "…";
        columns = Unicode::columnCount(shown);
    }
    if (columns > 0) {
        text_.append(pending_, ' ');
        left_ -= pending_ + columns;
        pending_ = 0;
        if (screen_.colours && !style.empty())
            text_ += "\x1b[" + std::string(style) + "m" + shown + "\x1b[0m";
        else
            text_ += shown;
    }
    if (width != Screen::unlimited) pending_ += width - columns;
}

} // namespace quorvik
