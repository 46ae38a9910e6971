#pragma once

#include <sys/types.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace quorvik::testing {

/// The path of one of our programs, as built.
std::string programPath(const std::string& name);

/// A real process with pipes on its standard streams.
class Program {
  public:
    struct Result {
        int status; ///< exit code, or 128 + signal
        std::string output;
        std::string errors;
    };

    /// Starts it in the test's environment; the first word is a path or is searched in the PATH. `prepare`
    /// runs in the child just before.
    explicit Program(const std::vector<std::string>& words, const std::function<void()>& prepare = {});
    ~Program(); ///< kills and reaps it if need be
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    pid_t pid() const { return pid_; }

    void writeInput(const std::string& text) const;
    void closeInput();

    /// The next line of its standard output, without the line feed; waits up to 20 seconds, then fails the
    /// test.
    std::string readLine();

    void closeOutput(); ///< as a reader that goes away

    /// Closes its input, collects what it still prints and waits for its end.
    Result finish();

    /// All in one.
    static Result run(const std::vector<std::string>& words, const std::string& input = "",
                      const std::function<void()>& prepare = {});

  private:
    pid_t pid_ = -1;
    int input_ = -1;
    int output_ = -1;
    int errors_ = -1;
    std::string buffered_;
};

/// Waits until `condition` holds, up to 20 seconds; fails the test otherwise.
bool eventually(const std::function<bool()>& condition);

} // namespace quorvik::testing
