#pragma once

#include <sys/types.h>

#include <functional>
#include <ostream>
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

        bool operator==(const Result&) const = default;
        friend std::ostream& operator<<(std::ostream& stream, const Result& result);
    };

    /// Starts it in the test's environment; the first word is a path or is searched in the PATH. `prepare`
    /// runs in the child just before.
    explicit Program(const std::vector<std::string>& words, const std::function<void()>& prepare = {});
    ~Program(); ///< kills and reaps it if need be
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    pid_t pid() const { return pid_; }

    void closeInput();

    /// All of its input: writes it, which must fit into a pipe, and closes it.
    void giveInput(const std::string& text);

    /// The next line of its standard output, without the line feed; waits up to 20 seconds, then fails the
    /// test.
    std::string readLine();

    void closeOutput(); ///< as a reader that goes away

    /// Gives it the input and closes that, collects what it still prints and waits for its end.
    Result finish(const std::string& input = "");

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

// What every real process needs.

/// As execvp() wants them; the words must outlive the result.
std::vector<char*> argumentsOf(const std::vector<std::string>& words);
/// Waits for the child's end: its exit code, or 128 + signal.
int statusOf(pid_t child);
/// Appends what comes next; false at the end of the stream, or when nothing comes for 20 seconds.
bool readMore(int descriptor, std::string& text);

/// To be run in a child just before its program (Linux): from then on the system call fails with that error.
/// Ends the child with status 77 where the kernel does not let us.
void refuse(long systemCall, int errorNumber);

/// Waits until `condition` holds, up to 20 seconds; fails the test otherwise.
bool eventually(const std::function<bool()>& condition);

} // namespace quorvik::testing
