#include "QuorvikCore/Platform/RunProgram.h"

#include "QuorvikCore/Platform/Files.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

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
    int start(const std::vector<std::string>& words) {
        std::vector<char*> arguments;
        for (const std::string& word : words)
            arguments.push_back(const_cast<char*>(word.c_str()));
        arguments.push_back(nullptr);
        return ::posix_spawnp(&pid_, arguments[0], &actions_, &attributes_, arguments.data(), environ);
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

std::optional<std::string> programOutput(const std::vector<std::string>& words, std::size_t limit) {
    Pipe pipe = Pipe::create();
    if (!pipe.readEnd) return std::nullopt;
    Spawn program;
    program.useNothing(STDIN_FILENO, O_RDONLY);
    program.useNothing(STDERR_FILENO, O_WRONLY);
    program.use(pipe.writeEnd.get(), STDOUT_FILENO);
    if (program.start(words) != 0) return std::nullopt;
    pipe.writeEnd.close();
    const auto content = Files::readStream(pipe.readEnd.get(), limit);
    pipe.readEnd.close(); // one that prints more ends by that
    if (program.wait() != 0 || !content) return std::nullopt;
    return std::string(content->text());
}

} // namespace quorvik::Platform
