#pragma once

#include <sys/types.h>
#include <termios.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvik::testing {

/// A real program on a pseudo-terminal of its own, as in a terminal window.
class Terminal {
  public:
    /// Starts it as leader of a new session with the terminal as its controlling one; the first word is
    /// searched in the PATH. `prepare` runs in the child just before.
    explicit Terminal(const std::vector<std::string>& words, const std::function<void()>& prepare = {});
    ~Terminal(); ///< closes the terminal, kills and reaps the program if need be
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    pid_t pid() const { return pid_; }

    void type(std::string_view keys) const;

    /// The terminal's size, of which the program is told.
    void resize(unsigned short rows, unsigned short columns) const;

    /// Echo, line mode and the like.
    termios settings() const;

    void hangUp(); ///< closes the terminal, as a window that is closed

    /// Waits, up to 20 seconds, until it has shown `text` after what an earlier call found, and returns what
    /// came in between; fails the test otherwise.
    std::string waitFor(std::string_view text);

    /// Kills and reaps the program, without asking it or reading what it showed.
    void destroy();

    /// Reads until the end, waits for it, and returns its exit code, or 128 + signal.
    int finish();

  private:
    int terminal_ = -1;
    pid_t pid_ = -1;
    std::string shown_; ///< and not found yet
};

} // namespace quorvik::testing
