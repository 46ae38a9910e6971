#include "QuorvikApp/Control/BackgroundProgram.h"

#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/FileDescriptor.h"
#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/RunProgram.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Text/Unicode.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace quorvik::BackgroundProgram {

namespace {

/// What every program in the background, and the tools that it runs, need of the starter's environment.
constexpr std::array<std::string_view, 20> kept = {"HOME",
                                                   "USER",
                                                   "LOGNAME",
                                                   "PATH",
                                                   "SHELL",
                                                   "TMPDIR",
                                                   "LANG",
                                                   "LC_ALL",
                                                   "LC_CTYPE",
                                                   "TZ",
                                                   "DISPLAY",
                                                   "WAYLAND_DISPLAY",
                                                   "XAUTHORITY",
                                                   "XDG_RUNTIME_DIR",
                                                   "DBUS_SESSION_BUS_ADDRESS",
                                                   "XDG_CONFIG_HOME",
                                                   "DOCKER_HOST",
                                                   "GH_CONFIG_DIR",
                                                   "SSH_AUTH_SOCK",
                                                   "QUORVIK_HOME"};

constexpr int readinessNumber = 3; ///< the descriptor at which a program finds its starter

/// What is to be different in the started process, as posix_spawn() takes it.
struct SpawnWishes {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;

    SpawnWishes() {
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawnattr_init(&attributes);
    }
    ~SpawnWishes() {
        ::posix_spawn_file_actions_destroy(&actions);
        ::posix_spawnattr_destroy(&attributes);
    }
    SpawnWishes(const SpawnWishes&) = delete;
    SpawnWishes& operator=(const SpawnWishes&) = delete;
};

/// What the program says within the limit: one line.
std::string firstLine(int readEnd, const std::filesystem::path& log, std::chrono::duration<double> limit) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(limit);
    std::string words;
    while (words.find('\n') == words.npos) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) throw StartError("it does not get ready");
        pollfd readable{readEnd, POLLIN, 0};
        const int ready = ::poll(&readable, 1, static_cast<int>(left.count()) + 1);
        if (ready <= 0) continue;
        char bytes[512];
        const ssize_t count = ::read(readEnd, bytes, sizeof bytes);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) throw StartError("it ended at once (see " + log.string() + ")");
        words.append(bytes, static_cast<std::size_t>(count));
    }
    return words.substr(0, words.find('\n'));
}

} // namespace

std::vector<std::string> environment(std::span<const std::string_view> prefixes) {
    std::vector<std::string> reduced;
    for (const auto& [name, value] : Platform::environment()) {
        const auto begins = [&name = name](std::string_view prefix) { return name.starts_with(prefix); };
        if (std::ranges::find(kept, name) == kept.end() && std::ranges::none_of(prefixes, begins)) continue;
        // A relative path is made absolute, since the program's folder is "/".
        const bool isFolder = name == "QUORVIK_HOME" && !value.empty();
        reduced.push_back(name + "=" + (isFolder ? QuorvikPaths::supportDirectory().string() : value));
    }
    return reduced;
}

std::string start(const Program& program, std::chrono::duration<double> limit) {
    Pipe readiness = Pipe::create();
    if (!readiness.readEnd) throw StartError(std::generic_category().message(errno));
    std::vector<std::string> words = program.words, environment = program.environment;
    words.insert(words.begin(), program.path.string());
    words.push_back("--detached=" + std::to_string(readinessNumber));
    SpawnWishes wishes;
    sigset_t none, all;
    sigemptyset(&none);
    sigfillset(&all);
    ::posix_spawnattr_setsigmask(&wishes.attributes, &none);
    ::posix_spawnattr_setsigdefault(&wishes.attributes, &all);
    ::posix_spawnattr_setflags(&wishes.attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    ::posix_spawn_file_actions_addopen(&wishes.actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    // Copied first: the write end may happen to have this very number already.
    FileDescriptor copy(::fcntl(readiness.writeEnd.get(), F_DUPFD_CLOEXEC, readinessNumber + 1));
    ::posix_spawn_file_actions_adddup2(&wishes.actions, copy.get(), readinessNumber);
    pid_t pid = 0;
    const int error = ::posix_spawn(&pid, program.path.c_str(), &wishes.actions, &wishes.attributes,
                                    Platform::argumentPointers(words).data(),
                                    Platform::argumentPointers(environment).data());
    if (error != 0) throw StartError(std::generic_category().message(error));
    readiness.writeEnd.close();
    copy.close();
    std::string answer;
    try {
        answer = firstLine(readiness.readEnd.get(), program.log, limit);
    } catch (const StartError&) {
        ::waitpid(pid, nullptr, WNOHANG); // it may hang
        throw;
    }
    while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) { // what goes on is its child, and outlives us
    }
    return Unicode::terminalLine(answer);
}

Readiness detach(int readinessDescriptor, const std::filesystem::path& log) {
    // It is nobody's child: whoever started it may run for long, and would have to ask for its end.
    if (::fork() > 0) ::_exit(0);
    ::setsid();
    const bool moved = ::chdir("/") == 0;
    (void)moved; // elsewhere it works as well
    for (int descriptor = STDERR_FILENO + 1, last = static_cast<int>(::sysconf(_SC_OPEN_MAX));
         descriptor < std::min(last, 4096); ++descriptor)
        if (descriptor != readinessDescriptor) ::close(descriptor);
    if (readinessDescriptor > STDERR_FILENO) ::fcntl(readinessDescriptor, F_SETFD, FD_CLOEXEC);

    try {
        QuorvikPaths::ensureDirectory(log.parent_path());
    } catch (const FileError&) {
        // The program will meet the same error, and report it.
    }
    // O_NONBLOCK: opening a named pipe would wait for a reader.
    FileDescriptor file(
        ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
    if (!file) file = FileDescriptor(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    const FileDescriptor input(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    ::dup2(input.get(), STDIN_FILENO);
    ::dup2(file.get(), STDOUT_FILENO);
    ::dup2(file.get(), STDERR_FILENO);
    return {readinessDescriptor};
}

void Readiness::report(const std::string& line) const {
    if (descriptor < 0) return;
    const std::string text = line + "\n";
    writeAll(descriptor, text.data(), text.size());
    ::close(descriptor);
}

} // namespace quorvik::BackgroundProgram
