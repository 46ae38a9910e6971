// Times whole processes in turn: ProcessBench <rounds> <what> <candidate> <yardstick>. A command line is
// words separated by blanks, started without a shell; "<file", ">file" and "2>file" redirect. One with a "|"
// or ";" goes to `sh -c`. Prints the ratio of the medians and the candidate's peak memory.

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

struct Command {
    std::vector<std::string> words;
    std::vector<std::pair<int, std::string>> redirections; ///< descriptor, file

    explicit Command(const std::string& line) {
        if (line.find_first_of("|;") != std::string::npos) {
            words = {"/bin/sh", "-c", line};
            return;
        }
        std::istringstream stream(line);
        for (std::string word; stream >> word;) {
            if (word.starts_with("<"))
                redirections.emplace_back(0, word.substr(1));
            else if (word.starts_with(">"))
                redirections.emplace_back(1, word.substr(1));
            else if (word.starts_with("2>"))
                redirections.emplace_back(2, word.substr(2));
            else
                words.push_back(word);
        }
    }
};

Run timed(const std::string& line) {
    Command command(line);
    std::vector<char*> arguments;
    for (std::string& word : command.words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    rusage usage{};
    int status = 0;
    const double seconds = quorvik::bench::seconds([&] {
#ifdef __APPLE__ // where vfork() is deprecated
        const pid_t child = ::fork();
#else
        const pid_t child = ::vfork();
#endif
        if (child == 0) {
            for (const auto& [descriptor, file] : command.redirections) {
                const int opened =
                    ::open(file.c_str(), descriptor == 0 ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC, 0600);
                ::dup2(opened, descriptor);
                ::close(opened);
            }
            ::execvp(arguments[0], arguments.data());
            ::_exit(126);
        }
        ::wait4(child, &status, 0, &usage);
    });
    if (WIFEXITED(status) && WEXITSTATUS(status) == 126) std::printf("cannot run: %s\n", line.c_str());
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
