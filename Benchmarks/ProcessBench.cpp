// Times whole processes in turn: ProcessBench <rounds> <what> <candidate> -- <yardstick>, both command lines
// for sh-free execution (words separated by blanks), or in single words for `sh -c` when they hold a "|" or
// ">". Prints the ratio of the medians and the candidate's peak memory.

#include "Benchmarks/Measure.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sstream>
#include <string>

namespace {

struct Run {
    double seconds;
    long peakKilobytes;
};

Run timed(const std::string& commandLine) {
    std::vector<std::string> words;
    if (commandLine.find_first_of("|><;") != std::string::npos) {
        words = {"/bin/sh", "-c", commandLine};
    } else {
        std::istringstream stream(commandLine);
        for (std::string word; stream >> word;)
            words.push_back(word);
    }
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    rusage usage{};
    const double seconds = quorvik::bench::seconds([&] {
        const pid_t child = ::vfork();
        if (child == 0) {
            ::execvp(arguments[0], arguments.data());
            ::_exit(126);
        }
        int status;
        ::wait4(child, &status, 0, &usage);
        if (WIFEXITED(status) && WEXITSTATUS(status) == 126)
            std::printf("cannot run: %s\n", commandLine.c_str());
    });
    return {seconds, usage.ru_maxrss};
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 5) return 3;
    const int rounds = std::stoi(argv[1]);
    const std::string candidate = argv[3], yardstick = argv[4];
    std::vector<double> ours, theirs;
    long peak = 0;
    for (int round = 0; round < rounds; ++round) {
        theirs.push_back(timed(yardstick).seconds);
        const Run run = timed(candidate);
        ours.push_back(run.seconds);
        peak = std::max(peak, run.peakKilobytes);
    }
    using quorvik::bench::median;
    std::printf("%-44s %6.2f x  (%.2f ms, %.2f ms, peak %.1f MB)  against: %s\n", argv[2],
                median(ours) / median(theirs), median(ours) * 1e3, median(theirs) * 1e3,
                static_cast<double>(peak) / 1024, yardstick.c_str());
}
