#pragma once

#include "QuorvikCore/Platform/FileDescriptor.h"

#include <termios.h>

#include <string>

namespace quorvik {

/// Signals, as a program needs that has changed its terminal. To be made before curses starts: that leaves
/// alone what has a handler already. One at a time; the destructor gives the signals back.
class TerminalSignals {
  public:
    TerminalSignals();
    ~TerminalSignals();
    TerminalSignals(const TerminalSignals&) = delete;
    TerminalSignals& operator=(const TerminalSignals&) = delete;

    /// Readable when a signal has come.
    int descriptor() const { return pipe_.readEnd.get(); }

    struct Pending {
        bool resized = false;
        bool suspend = false;   ///< the user pressed Ctrl-Z
        bool continued = false; ///< after a stop
        int fatal = 0;          ///< INT, TERM, HUP or QUIT; 0: none
    };
    /// What has come since the last call.
    Pending take();

    /// Stops this process's group as Ctrl-Z does, and returns when it is continued.
    void stop();

    /// Ends this process as the signal would have done.
    [[noreturn]] static void raiseAgain(int signal);

    /// What a crash (SEGV, BUS, FPE, ILL, ABRT, SYS, an exception that nobody catches) does to the terminal
    /// from now on, before it takes its course: gives it these settings and writes these bytes.
    static void restoreAtCrash(int terminal, const termios& settings, const std::string& bytes);
    static void nothingToRestore();

  private:
    Pipe pipe_;
};

} // namespace quorvik
