#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>

namespace quorvik {

/// What standard output can show.
struct Screen {
    static constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();

    /// The terminal's width, else $COLUMNS, else 80; unlimited when standard output is no terminal.
    std::size_t columns = unlimited;

    /// Whether to use colours: on a terminal, unless NO_COLOR is set and not empty, or TERM is "dumb" or not
    /// set.
    bool colours = false;

    static Screen ofStandardOutput();
};

/// One line of output, cut to the screen's columns. Texts pass through Unicode::terminalLine() first: what
/// session records hold comes from agents and commands.
class ScreenLine {
  public:
    explicit ScreenLine(const Screen& screen) : screen_(screen), left_(screen.columns) {}

    /// Appends the text, and blanks up to `width` columns. What does not fit into them, or on the screen,
    /// ends with "…". `style` holds the parameters of an SGR sequence ("1;31"), or nothing.
    void add(std::string_view text, std::size_t width = Screen::unlimited, std::string_view style = {});

    /// Adds so many blanks, but only if anything follows.
    void skip(std::size_t columns) { pending_ += columns; }

    /// The line so far, without blanks at its end and without a line feed.
    const std::string& text() const { return text_; }

  private:
    const Screen& screen_;
    std::size_t left_;        ///< columns
    std::size_t pending_ = 0; ///< blanks that are written when something follows
    std::string text_;
};

} // namespace quorvik
