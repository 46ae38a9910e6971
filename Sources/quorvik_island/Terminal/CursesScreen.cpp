#include "quorvik_island/Terminal/CursesScreen.h"

#include "quorvik_island/Terminal/TerminalSignals.h"

#include "QuorvikCore/Platform/MemoryFile.h"
#include "QuorvikCore/Text/Unicode.h"

#include <curses.h>
#include <fcntl.h>
#include <langinfo.h>
#include <sys/ioctl.h>
#include <term.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <clocale>
#include <cstdlib>
#include <stdexcept>
#include <string>

// curses.h and term.h define short words as macros; these are ours.
#undef lines
#undef columns
#undef move

namespace quorvik {

namespace {

struct Paint {
    short colour; ///< of the palette; -1: the terminal's own
    attr_t attributes;
};

/// Palette colours only, so that they follow the terminal's theme; on a light one as on a dark one.
constexpr Paint paintOf(Style style) {
    switch (style) {
    case Style::plain: return {-1, 0};
    case Style::faint: return {-1, A_DIM};
    case Style::strong: return {-1, A_BOLD};
    case Style::awaiting: return {COLOR_YELLOW, A_BOLD};
    case Style::awaitingQuiet: return {COLOR_YELLOW, 0};
    case Style::failed: return {COLOR_RED, A_BOLD};
    case Style::working: return {COLOR_CYAN, 0};
    case Style::done: return {COLOR_GREEN, 0};
    case Style::border: return {-1, A_DIM};
    case Style::removed: return {COLOR_RED, 0};
    case Style::added: return {COLOR_GREEN, 0};
    case Style::hidden: return {COLOR_MAGENTA, A_UNDERLINE};
    case Style::note: return {-1, A_BOLD};
    }
    return {-1, 0};
}

constexpr std::string_view mouseOff = "\x1b[?1006l\x1b[?1000l";

// The terminal marks what is pasted.
constexpr std::string_view pasteOn = "\x1b[?2004h", pasteOff = "\x1b[?2004l";
constexpr int pasteBegins = KEY_MAX + 100, pasteEnds = KEY_MAX + 101; // far from the library's own

void tell(std::string_view bytes) {
    writeAll(STDOUT_FILENO, bytes.data(), bytes.size());
}

double steadySeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

bool takesUTF8() {
    return std::string_view(::nl_langinfo(CODESET)) == "UTF-8";
}

/// A locale in which a character is a character; false when the system has none.
bool chooseLocale() {
    std::setlocale(LC_ALL, "");
    for (const char* name : {"C.UTF-8", "en_US.UTF-8", "UTF-8"}) {
        if (takesUTF8()) return true;
        std::setlocale(LC_CTYPE, name);
    }
    return takesUTF8();
}

std::string capability(const char* name) {
    const char* value = ::tigetstr(const_cast<char*>(name));
    return value == nullptr || value == reinterpret_cast<const char*>(-1) ? "" : value;
}

Key namedKey(int code) {
    switch (code) {
    case KEY_UP: return {"Up"};
    case KEY_DOWN: return {"Down"};
    case KEY_LEFT: return {"Left"};
    case KEY_RIGHT: return {"Right"};
    case KEY_PPAGE: return {"PgUp"};
    case KEY_NPAGE: return {"PgDn"};
    case KEY_HOME: return {"Home"};
    case KEY_END: return {"End"};
    case KEY_ENTER: return {"Enter"};
    case KEY_BACKSPACE: return {"Backspace"};
    case KEY_DC: return {"Delete"};
    default: return {};
    }
}

Key mouseKey() {
    MEVENT event{};
    if (::getmouse(&event) != OK) return {};
    const auto at = [](int place) { return static_cast<std::size_t>(std::max(place, 0)); };
    std::string name;
    if ((event.bstate & (BUTTON1_PRESSED | BUTTON1_CLICKED)) != 0) name = "Click";
    if ((event.bstate & BUTTON4_PRESSED) != 0) name = "WheelUp";
    constexpr mmask_t button5 =
        NCURSES_MOUSE_MASK(5, NCURSES_BUTTON_PRESSED); // older versions name four only
    if ((event.bstate & button5) != 0) name = "WheelDown";
    return {name, at(event.y), at(event.x)};
}

Key characterKey(wint_t code) {
    switch (code) {
    case '\r':
    case '\n': return {"Enter"};
    case '\t': return {"Tab"};
    case 0x1B: return {"Esc"};
    case 0x08:
    case 0x7F: return {"Backspace"};
    default: break;
    }
    if (code < 0x20) return {std::string("Ctrl-") + static_cast<char>(code + '@')};
    std::string text;
    Unicode::append(text, static_cast<char32_t>(code));
    return {text};
}

} // namespace

struct CursesScreen::Library {
    SCREEN* screen = nullptr;
    std::string restoring; ///< bytes that give the picture back
    ~Library() {
        if (screen) ::delscreen(screen);
    }
};

CursesScreen::CursesScreen(bool colours) : library_(std::make_unique<Library>()), colours_(colours) {
    unicode_ = chooseLocale();
    if (::tcgetattr(STDIN_FILENO, &found_) != 0) throw std::runtime_error("standard input is no terminal");
    ::use_env(FALSE); // LINES and COLUMNS may be another terminal's
    const char* name = std::getenv("TERM");
    library_->screen = ::newterm(nullptr, stdout, stdin);
    if (!library_->screen)
        throw std::runtime_error("cannot draw on a terminal of the type " +
                                 std::string(name ? name : "\"\"") + "; quorvik-island --plain prints lines");
    ::set_escdelay(25); // ms
    colours_ = colours_ && ::has_colors() && ::start_color() == OK;
    if (colours_) {
        ::use_default_colors();
        for (short colour = 0; colour < 8; ++colour)
            ::init_pair(static_cast<short>(colour + 1), colour, -1);
    }
    library_->restoring = std::string(mouseOff) + std::string(pasteOff) + capability("sgr0") +
                          capability("cnorm") + capability("rmkx") + capability("rmcup");
    ::cbreak();
    ::noecho();
    ::nonl();
    ::intrflush(stdscr, FALSE);
    ::keypad(stdscr, TRUE);
    ::nodelay(stdscr, TRUE);
    ::mouseinterval(0);
    ::define_key("\x1b[200~", pasteBegins);
    ::define_key("\x1b[201~", pasteEnds);
    terminal_ = FileDescriptor(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!terminal_) throw std::runtime_error("there are no descriptors left");
    collected_ = Platform::memoryFile();
    entered_ = true;
    TerminalSignals::restoreAtCrash(terminal_.get(), found_, library_->restoring);
    tell(pasteOn);
    setMouse(true);
}

CursesScreen::~CursesScreen() {
    leave();
}

void CursesScreen::enter(bool anew) {
    if (abandoned_) return;
    if (anew) ::tcgetattr(STDIN_FILENO, &found_);
    entered_ = true;
    TerminalSignals::restoreAtCrash(terminal_.get(), found_, library_->restoring);
    ::reset_prog_mode();
    ::flushinp(); // what was typed meanwhile was meant for something else
    forget();
    ::refresh();
    tell(pasteOn);
    setMouse(mouse_);
}

void CursesScreen::leave() {
    if (!entered_) return;
    entered_ = false;
    TerminalSignals::nothingToRestore();
    if (abandoned_) return;
    while (::tcsetattr(STDIN_FILENO, TCSANOW, &found_) != 0 && errno == EINTR) {
    }
    tell(mouseOff);
    tell(pasteOff);
    ::endwin();
    while (::tcsetattr(STDIN_FILENO, TCSANOW, &found_) != 0 && errno == EINTR) {
    }
}

void CursesScreen::abandon() {
    abandoned_ = true;
    TerminalSignals::nothingToRestore();
}

ScreenSize CursesScreen::size() const {
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0) return {};
    return {size.ws_row, size.ws_col};
}

void CursesScreen::setMouse(bool on) {
    mouse_ = on;
    if (!entered_) return;
    ::mousemask(on ? ALL_MOUSE_EVENTS : 0, nullptr); // in the form that the library expects to read
}

void CursesScreen::forget() {
    ::clearok(curscr, TRUE);
}

void CursesScreen::paint(const Frame& frame) {
    if (!entered_ || abandoned_) return;
    const int rows = static_cast<int>(frame.size.rows), columns = static_cast<int>(frame.size.columns);
    if (getmaxy(stdscr) != rows || getmaxx(stdscr) != columns) ::resizeterm(rows, columns);
    ::erase();
    for (int row = 0; row < rows; ++row) {
        const FrameRow& content = frame.rows[static_cast<std::size_t>(row)];
        std::size_t begin = 0;
        int column = 0;
        for (const auto& span : content.spans) {
            const Paint paint = paintOf(span.style);
            ::attr_set(paint.attributes, colours_ ? static_cast<short>(paint.colour + 1) : short{0}, nullptr);
            std::string_view text = std::string_view(content.text).substr(begin, span.end - begin);
            begin = span.end;
            while (!text.empty()) {
                // A run of ASCII is written in one go. Every other character is written at its own column,
                // since curses may count its width differently.
                const auto end = std::ranges::find_if(text, [](unsigned char byte) { return byte >= 0x80; });
                std::string_view piece = text.substr(0, static_cast<std::size_t>(end - text.begin()));
                if (piece.empty()) {
                    std::string_view rest = text;
                    piece = Unicode::takeCharacter(rest);
                } else if (end != text.end()) {
                    piece.remove_suffix(1); // marks may follow
                }
                if (piece.empty()) {
                    std::string_view rest = text;
                    piece = Unicode::takeCharacter(rest);
                }
                text.remove_prefix(piece.size());
                const int width = static_cast<int>(Unicode::columnCount(piece));
                if (!unicode_ && !Unicode::isPrintableASCII(piece)) {
                    for (int at = 0; at < width; ++at)
                        mvaddch(row, column + at, piece == "─" ? '-' : piece == "│" ? '|' : '?');
                } else {
                    std::wstring wide;
                    for (std::string_view rest = piece; !rest.empty();) {
                        const Unicode::Scalar scalar = Unicode::firstScalar(rest);
                        wide += static_cast<wchar_t>(scalar.value);
                        rest.remove_prefix(scalar.length);
                    }
                    mvaddnwstr(row, column, wide.c_str(), static_cast<int>(wide.size()));
                }
                column += width;
            }
        }
    }
    ::wmove(stdscr, static_cast<int>(frame.cursorRow), static_cast<int>(frame.cursorColumn));
    refreshAtOnce();
}

void CursesScreen::refreshAtOnce() {
    if (!collected_ || ::dup2(collected_.get(), STDOUT_FILENO) < 0) {
        ::refresh();
        return;
    }
    ::refresh();
    ::dup2(terminal_.get(), STDOUT_FILENO);
    const off_t size = ::lseek(collected_.get(), 0, SEEK_CUR);
    std::string bytes(static_cast<std::size_t>(std::max<off_t>(size, 0)), '\0');
    const ssize_t count = ::pread(collected_.get(), bytes.data(), bytes.size(), 0);
    ::lseek(collected_.get(), 0, SEEK_SET);
    std::string_view left(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    while (!left.empty()) {
        const ssize_t written = ::write(STDOUT_FILENO, left.data(), left.size());
        if (written < 0) { // a signal came while the terminal was stopped
            forget();
            return;
        }
        left.remove_prefix(static_cast<std::size_t>(written));
    }
}

/// Drops the escape sequences of keys that curses does not know. They begin with Esc and end with a letter,
/// which nobody pressed: the "A" of an unknown arrow key must not answer anything.
void CursesScreen::take(Key key, std::vector<Key>& keys) {
    constexpr double together = 0.2; // seconds; a slow line may part a sequence
    constexpr double oneKey = 0.03;  // nobody presses two keys as fast
    constexpr double oneString = 1;  // what a terminal answers to a question arrives within that
    const bool isCharacter = key.name.size() == 1;
    const char byte = isCharacter ? key.name.front() : '\0';
    switch (sequence_) {
    case Sequence::none: break;
    case Sequence::afterEscape:
        sequence_ = Sequence::none;
        if (steadySeconds() - escapeAt_ > together) break;
        if (byte == '[') sequence_ = Sequence::control;
        if (byte == 'O') sequence_ = Sequence::single;
        if (byte != '\0' && std::string_view("]P_^X").find(byte) != std::string_view::npos)
            sequence_ = Sequence::string;
        if (sequence_ != Sequence::none) return;
        if (steadySeconds() - escapeAt_ < oneKey) return; // with Alt
        break;
    case Sequence::control:
        if (isCharacter && byte >= '@') sequence_ = Sequence::none;
        if (isCharacter) return;
        sequence_ = Sequence::none;
        break;
    case Sequence::single: sequence_ = Sequence::none; return;
    case Sequence::string:
        if (steadySeconds() - escapeAt_ > oneString) {
            sequence_ = Sequence::none;
            break;
        }
        if (key.name == "Ctrl-G") sequence_ = Sequence::none; // BEL ends it
        if (key.name == "Esc") sequence_ = Sequence::stringEnd;
        return;
    case Sequence::stringEnd: sequence_ = byte == '\\' ? Sequence::none : Sequence::string; return;
    }
    if (key.name == "Esc") {
        sequence_ = Sequence::afterEscape;
        escapeAt_ = steadySeconds();
    }
    key.isPasted = pasting_;
    keys.push_back(std::move(key));
}

std::vector<Key> CursesScreen::keys() {
    std::vector<Key> keys;
    if (!entered_ || abandoned_) return keys;
    constexpr std::size_t most = 10'000; // of one turn
    while (keys.size() < most) {
        wint_t code = 0;
        const int kind = ::get_wch(&code);
        if (kind == ERR) break;
        const int name = static_cast<int>(code);
        if (kind == KEY_CODE_YES && (name == pasteBegins || name == pasteEnds)) {
            pasting_ = name == pasteBegins;
            continue;
        }
        Key key = kind != KEY_CODE_YES ? characterKey(code) : name == KEY_MOUSE ? mouseKey() : namedKey(name);
        if (!key.name.empty()) take(std::move(key), keys);
    }
    return keys;
}

} // namespace quorvik
