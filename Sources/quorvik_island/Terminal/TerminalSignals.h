#pragma once

#include "QuorvikCore/Platform/FileDescriptor.h"

#include <termios.h>

#include <string>

namespace quorvik {

/// Signal handling for a program that changes the settings of its terminal. To be made before curses starts,
/// which leaves alone signals that have a handler. One object at a time; the destructor sets the signals to
/// their defaults.
class TerminalSignals {
  public:
    TerminalSignals();
    ~TerminalSignals();
    TerminalSignals(const TerminalSignals&) = delete;
    TerminalSignals& operator=(const TerminalSignals&) = delete;

    /// Becomes readable when a signal has come.
    int descriptor() const { return pipe_.readEnd.get(); }

    struct Pending {
        bool resized = false;
        bool suspend = false;   ///< the user pressed Ctrl-Z
        bool continued = false; ///< after a stop
        int fatal = 0;          ///< INT, TERM, HUP or QUIT; 0: none
    };
    /// The signals that have come since the last call.
    Pending take();

    /// Stops the process group as Ctrl-Z does, and returns when it is continued.
    void stop();

    /// Ends this process as the signal would have done.
    [[noreturn]] static void raiseAgain(int signal);

    /// Sets what happens at a crash (SEGV, BUS, FPE, ILL, ABRT, SYS, an exception that nobody catches) before
    /// the process dies: the terminal gets these settings, and these bytes are written to it.
    static void restoreAtCrash(int terminal, const termios& settings, const std::string& bytes);
    /// Undoes restoreAtCrash().
    static void nothingToRestore();

  private:
    Pipe pipe_;
};

} // namespace quorvik
