#pragma once

#include <chrono>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// Programs of ours that outlive who starts them: the app and the overlay. Both ends of their start: start()
/// in the starter, detach() in the program. Between them is a pipe on which the program reports how its start
/// went.
namespace quorvik::BackgroundProgram {

/// The program cannot be started; what() says why, in some words ("it does not get ready").
class StartError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct Program {
    std::filesystem::path path;
    std::vector<std::string> words;       ///< that follow its name; "--detached=3" is added
    std::vector<std::string> environment; ///< as environment() makes it
    std::filesystem::path log;            ///< where it says more; for messages
};

/// The variables of our environment that a program in the background, and the tools that it runs, need. All
/// others belong to one terminal or one agent, which it outlives. Besides a fixed list, those whose names
/// begin with one of the `prefixes`, or are one of them. $QUORVIK_HOME is made absolute.
std::vector<std::string> environment(std::span<const std::string_view> prefixes = {});

/// Starts the program with no signal blocked or ignored, and returns the line that it reports, made harmless
/// for a terminal. Throws StartError when it cannot be run, ends without a word ("it ended at once (see
/// <log>)"), or reports nothing within `limit`; it may then go on.
std::string start(const Program& program, std::chrono::duration<double> limit);

/// The program's way to report.
struct Readiness {
    int descriptor = -1; ///< the starter's pipe; -1: nobody waits
    /// Reports one line: "ready", "running…" (another one has the place) or an error. Once at most.
    void report(const std::string& line) const;
};

/// What the program does first, before it has threads: leaves the starter's session, folder, descriptors and
/// streams. Standard output and error go to the end of the file `log`, to nowhere when it cannot be opened.
/// Who writes to it sees to its size.
Readiness detach(int readinessDescriptor, const std::filesystem::path& log);

} // namespace quorvik::BackgroundProgram
