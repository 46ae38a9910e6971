#include "quorvik_island/Screen.h"

#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Text/Unicode.h"

#include <sys/ioctl.h>
#include <unistd.h>

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
    const bool plain =
        !Platform::environmentValue("NO_COLOR").empty() || Platform::environmentValue("TERM") == "dumb";
    return {true, terminalColumns(), !plain};
}

void ScreenLine::add(std::string_view text, std::size_t width, std::string_view style) {
    if (left_ <= pending_) {
        left_ = 0;
        return;
    }
    const std::string whole = Unicode::terminalLine(text);
    const std::size_t room = left_ - pending_;
    std::size_t columns = Unicode::columnCount(whole);
    std::string shown = whole;
    const bool isCut = columns > room;
    if (isCut) {
        shown = Unicode::firstColumns(whole, room - 1);
        shown += "…";
        columns = room;
    }
    if (!shown.empty()) {
        text_.append(pending_, ' ');
        left_ -= pending_;
        pending_ = 0;
        if (screen_.colours && !style.empty())
            text_ += "\x1b[" + std::string(style) + "m" + shown + "\x1b[0m";
        else
            text_ += shown;
    }
    left_ = isCut ? 0 : left_ - columns;
    pending_ += width > columns ? width - columns : 0;
}

} // namespace quorvik
