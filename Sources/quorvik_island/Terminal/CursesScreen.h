#pragma once

#include "quorvik_island/Terminal/Frame.h"
#include "quorvik_island/Terminal/Keys.h"

#include "QuorvikCore/Platform/FileDescriptor.h"

#include <termios.h>

#include <memory>
#include <vector>

namespace quorvik {

/// The terminal on standard input and output as a screen of cells: paints frames and reads keys. No other
/// file uses curses. A TerminalSignals must exist before.
class CursesScreen {
  public:
    /// Enters the screen. Throws std::runtime_error, with one line, when the terminal cannot be used.
    explicit CursesScreen(bool colours);
    ~CursesScreen(); ///< leaves it
    CursesScreen(const CursesScreen&) = delete;
    CursesScreen& operator=(const CursesScreen&) = delete;

    /// Takes the terminal, for the first time or again. `anew`: keeps its present settings as those to give
    /// back at the end, since another program may have changed them on purpose.
    void enter(bool anew);

    /// Gives the terminal back as it was found: its settings, then its picture. Does nothing when that is
    /// done already.
    void leave();

    /// To be called when the terminal is gone: nothing is written to it any more.
    void abandon();

    /// The size that the terminal reports, else 24 by 80.
    ScreenSize size() const;

    void paint(const Frame& frame);
    void forget(); ///< the next paint() draws every cell

    void setMouse(bool on);
    bool hasMouse() const { return mouse_; }

    /// All keys that have come; does not wait.
    std::vector<Key> keys();

  private:
    void take(Key key, std::vector<Key>& keys);

    /// Brings the terminal up to date with one write, where the system allows that: curses makes one for
    /// each piece, and whoever draws the terminal wakes up at every one of them.
    void refreshAtOnce();

    struct Library;
    std::unique_ptr<Library> library_;
    termios found_{};
    FileDescriptor terminal_;  ///< what standard output leads to
    FileDescriptor collected_; ///< in memory: what curses writes; empty when there is no such file
    /// Where take() is within an escape sequence of the terminal's that names no key of ours.
    enum class Sequence { none, afterEscape, control, single, string, stringEnd };
    Sequence sequence_ = Sequence::none;
    double escapeAt_ = 0; ///< steady
    bool pasting_ = false;
    bool entered_ = false, abandoned_ = false, mouse_ = true, colours_, unicode_ = true;
};

} // namespace quorvik
