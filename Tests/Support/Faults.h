#pragma once

#include "Tests/Support/Program.h"

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace quorvik::testing {

/// A system call of a program that fails, or the moment at which it is killed.
struct Fault {
    std::string call; ///< its name on Linux, or "all"
    std::string what; ///< "error=EIO", "signal=KILL"
    int number;       ///< the how many-th such call of the program, from 1

    bool kills() const { return what == "signal=KILL"; }
    friend std::ostream& operator<<(std::ostream& stream, const Fault& fault);
};

/// Makes the system calls of a real program fail, one in each run, by means of strace.
class Faults {
  public:
    /// Absent when it can be done here: strace is there and allowed to trace, and the program's own calls are
    /// its first ones (which those of a dynamically linked program are not).
    static std::string whyNot(const std::string& program);

    /// Notes are written below the folder.
    explicit Faults(std::filesystem::path folder) : log_(std::move(folder) / "calls") {}

    /// Runs the scenario with the first call of that name failing, then with the second, and so on, until the
    /// program makes no more of them. The scenario gets the fault and the words to put in front of the
    /// program's own. Its program must have ended when it returns. The runs made.
    using Scenario = std::function<void(const Fault& fault, const std::vector<std::string>& prefix)>;
    int each(const std::string& call, const std::string& what, const Scenario& scenario) const;

  private:
    std::filesystem::path log_;
};

} // namespace quorvik::testing
