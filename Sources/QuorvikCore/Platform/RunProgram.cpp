#include "QuorvikCore/Platform/RunProgram.h"

#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/FileDescriptor.h"
#include "QuorvikCore/Platform/Files.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <thread>

extern char** environ;

namespace quorvik::Platform {

namespace {

/// A program that is being started.
class Spawn {
  public:
    Spawn() {
        ::posix_spawn_file_actions_init(&actions_);
        ::posix_spawnattr_init(&attributes_);
        sigset_t defaults, blocked;
        sigemptyset(&defaults);
        for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGPIPE, SIGXFSZ})
            sigaddset(&defaults, signal);
        sigemptyset(&blocked);
        ::posix_spawnattr_setsigdefault(&attributes_, &defaults);
        ::posix_spawnattr_setsigmask(&attributes_, &blocked);
        ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    ~Spawn() {
        ::posix_spawnattr_destroy(&attributes_);
        ::posix_spawn_file_actions_destroy(&actions_);
    }
    Spawn(const Spawn&) = delete;
    Spawn& operator=(const Spawn&) = delete;

    void useNothing(int descriptor, int mode) {
        ::posix_spawn_file_actions_addopen(&actions_, descriptor, "/dev/null", mode, 0);
    }
    void use(int own, int descriptor) { ::posix_spawn_file_actions_adddup2(&actions_, own, descriptor); }

    /// 0, or the system's error number.
    int start(std::vector<std::string> words) {
        const std::vector<char*> arguments = argumentPointers(words);
        return ::posix_spawnp(&pid_, arguments[0], &actions_, &attributes_, arguments.data(), environ);
    }

    void kill() const { ::kill(pid_, SIGKILL); }

    /// Whether it has ended by itself by then. It still has to be waited for.
    bool endsBy(std::chrono::steady_clock::time_point deadline) const {
        siginfo_t end{};
        while (::waitid(P_PID, static_cast<id_t>(pid_), &end, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               end.si_pid == 0) {
            if (std::chrono::steady_clock::now() >= deadline) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return true;
    }

    int wait() const {
        int status = 0;
        while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
        }
        return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }

  private:
    posix_spawn_file_actions_t actions_;
    posix_spawnattr_t attributes_;
    pid_t pid_ = 0;
};

/// The signals that a terminal's keys send, ignored for a while.
class KeySignalsIgnored {
  public:
    KeySignalsIgnored() {
        for (std::size_t index = 0; index < signals.size(); ++index) {
            struct sigaction ignore {};
            ignore.sa_handler = SIG_IGN;
            ::sigaction(signals[index], &ignore, &before_[index]);
        }
    }
    ~KeySignalsIgnored() {
        for (std::size_t index = 0; index < signals.size(); ++index)
            ::sigaction(signals[index], &before_[index], nullptr);
    }
    KeySignalsIgnored(const KeySignalsIgnored&) = delete;
    KeySignalsIgnored& operator=(const KeySignalsIgnored&) = delete;

  private:
    static constexpr std::array<int, 2> signals = {SIGINT, SIGQUIT};
    std::array<struct sigaction, 2> before_;
};

} // namespace

ProgramEnd runProgram(const std::vector<std::string>& words) {
    const KeySignalsIgnored ignored;
    Spawn program;
    if (const int error = program.start(words); error != 0) return {error, 0};
    return {0, program.wait()};
}

std::vector<char*> argumentPointers(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    return pointers;
}

std::optional<std::filesystem::path> findProgram(std::string_view name) {
    const std::string path = environmentValue("PATH");
    for (std::size_t start = 0; start <= path.size();) {
        const std::size_t end = std::min(path.find(':', start), path.size());
        const auto file = std::filesystem::path(path.substr(start, end - start)) / name;
        if (Files::isExecutable(file)) return file;
        start = end + 1;
    }
    return std::nullopt;
}

std::optional<std::string> programOutput(const std::vector<std::string>& words, std::size_t limit,
                                         std::chrono::milliseconds time) {
    Pipe pipe = Pipe::create();
    if (!pipe.readEnd) return std::nullopt;
    Spawn program;
    program.useNothing(STDIN_FILENO, O_RDONLY);
    program.useNothing(STDERR_FILENO, O_WRONLY);
    program.use(pipe.writeEnd.get(), STDOUT_FILENO);
    if (program.start(words) != 0) return std::nullopt;
    pipe.writeEnd.close();
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + time;
    std::string output;
    bool hasEnded = false;
    while (!hasEnded && output.size() <= limit) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd readable{pipe.readEnd.get(), POLLIN, 0};
        const int ready = left.count() > 0 ? ::poll(&readable, 1, static_cast<int>(left.count())) : 0;
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) break;
        char bytes[4096];
        const ssize_t count = ::read(pipe.readEnd.get(), bytes, sizeof bytes);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) break;
        output.append(bytes, static_cast<std::size_t>(count));
        hasEnded = count == 0;
    }
    if (!hasEnded || !program.endsBy(deadline)) program.kill();
    if (program.wait() != 0 || !hasEnded || output.size() > limit) return std::nullopt;
    return output;
}

} // namespace quorvik::Platform
