#include "QuorvikApp/Control/AppStarter.h"

#include "QuorvikApp/Control/ControlClient.h"

#include "QuorvikCore/Install/Autostart.h"
#include "QuorvikCore/Platform/Environment.h"
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
#include <vector>

namespace quorvik::AppStarter {

namespace {

/// The environment variables that the app, and the tools that it runs, need of the starter's. All others
/// belong to one terminal or one agent, which the app outlives.
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

constexpr int readinessNumber = 3; ///< the descriptor at which a background app finds its starter

[[noreturn]] void fail(const std::string& why) {
    throw NoApp("could not start Quorvik: " + why);
}

std::vector<std::string> reducedEnvironment() {
    std::vector<std::string> reduced;
    for (const auto& [name, value] : Platform::environment()) {
        if (std::ranges::find(kept, name) == kept.end()) continue;
        // A relative path is made absolute, since the app's folder is "/".
        const bool isFolder = name == "QUORVIK_HOME" && !value.empty();
        reduced.push_back(name + "=" + (isFolder ? QuorvikPaths::supportDirectory().string() : value));
    }
    return reduced;
}

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

/// What the app says within the limit: one word, or an error.
std::string firstWords(int readEnd, std::chrono::duration<double> limit) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(limit);
    std::string words;
    while (words.find('\n') == words.npos) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) fail("it does not get ready");
        pollfd readable{readEnd, POLLIN, 0};
        const int ready = ::poll(&readable, 1, static_cast<int>(left.count()) + 1);
        if (ready <= 0) continue;
        char bytes[512];
        const ssize_t count = ::read(readEnd, bytes, sizeof bytes);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) fail("it ended at once (see " + QuorvikPaths::appLog().string() + ")");
        words.append(bytes, static_cast<std::size_t>(count));
    }
    return words.substr(0, words.find('\n'));
}

} // namespace

bool isForbidden() {
    return Platform::environmentValue("QUORVIK_NO_START") == "1";
}

void start(std::chrono::duration<double> limit, Way way) {
    const auto manager = Platform::serviceManager();
    constexpr std::size_t mostOutput = 1 << 16; // bytes
    if (way == Way::asInstalled && Autostart::isInstalledHere(manager) &&
        Platform::programOutput(Autostart::startCommand(manager), mostOutput))
        return; // it is about to listen
    const std::filesystem::path self = Platform::runningProgram();
    if (self.empty()) fail("the system does not tell where this program is");
    const std::filesystem::path program =
        self.parent_path() / "quorvik-island"; // other front ends stand beside it
    Pipe readiness = Pipe::create();
    if (!readiness.readEnd) fail(std::generic_category().message(errno));

    std::vector<std::string> words = {program.string(), "serve",
                                      "--detached=" + std::to_string(readinessNumber)};
    std::vector<std::string> environment = reducedEnvironment();
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
    const int error = ::posix_spawn(&pid, program.c_str(), &wishes.actions, &wishes.attributes,
                                    Platform::argumentPointers(words).data(),
                                    Platform::argumentPointers(environment).data());
    if (error != 0) fail(std::generic_category().message(error));
    readiness.writeEnd.close();
    copy.close();
    std::string answer;
    try {
        answer = firstWords(readiness.readEnd.get(), limit);
    } catch (const NoApp&) {
        ::waitpid(pid, nullptr, WNOHANG); // it may hang
        throw;
    }
    while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) { // the app is its child, and outlives us
    }
    if (answer != "ready" && answer != "running") fail(Unicode::terminalLine(answer));
}

Readiness detach(int readinessDescriptor) {
    // The app is nobody's child: whoever started it may run for long, and would have to ask for its end.
    if (::fork() > 0) ::_exit(0);
    ::setsid();
    const bool moved = ::chdir("/") == 0;
    (void)moved; // elsewhere it works as well
    for (int descriptor = STDERR_FILENO + 1, last = static_cast<int>(::sysconf(_SC_OPEN_MAX));
         descriptor < std::min(last, 4096); ++descriptor)
        if (descriptor != readinessDescriptor) ::close(descriptor);
    if (readinessDescriptor > STDERR_FILENO) ::fcntl(readinessDescriptor, F_SETFD, FD_CLOEXEC);

    try {
        QuorvikPaths::ensureDirectory(QuorvikPaths::supportDirectory());
    } catch (const FileError&) {
        // The app will meet the same error, and report it.
    }
    const std::string log = QuorvikPaths::appLog().string();
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

void Readiness::report(const std::string& word) const {
    if (descriptor < 0) return;
    const std::string line = word + "\n";
    writeAll(descriptor, line.data(), line.size());
    ::close(descriptor);
}

} // namespace quorvik::AppStarter
