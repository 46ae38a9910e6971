// The running app, with the real programs around it: how soon a change is seen, how soon an answer arrives,
// what many at once cost, and what nothing at all costs.
//
//   AppBench              all but the minute of silence
//   AppBench idle         the minute of silence

#include "Benchmarks/Measure.h"

#include "QuorvikApp/Control/ControlClient.h"

#include "QuorvikCore/Platform/LineSocket.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Session/SessionStore.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>

extern char** environ;

namespace {

using namespace quorvik;
using Clock = std::chrono::steady_clock;

double milliseconds(Clock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

double percentile(std::vector<double> values, double share) {
    std::ranges::sort(values);
    return values.at(static_cast<std::size_t>(share * static_cast<double>(values.size() - 1)));
}

void print(const char* what, const std::vector<double>& values) {
    std::printf("%-58s p50 %.2f ms, p99 %.2f ms, most %.2f ms\n", what, percentile(values, 0.5),
                percentile(values, 0.99), percentile(values, 1));
    std::fflush(stdout);
}

std::string besideThis(const char* name) {
    return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / name).string();
}

pid_t spawn(std::vector<std::string> words, int input = -1) {
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    if (input >= 0) ::posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    if (::posix_spawn(&pid, pointers.front(), &actions, nullptr, pointers.data(), environ) != 0) std::abort();
    ::posix_spawn_file_actions_destroy(&actions);
    return pid;
}

ControlClient connect(std::string_view role = "command") {
    for (;;) {
        try {
            return ControlClient::connect(role, ControlClient::Start::never);
        } catch (const NoApp&) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
}

SessionRecord recordNumber(int index) {
    SessionRecord record(Source::claude, "2f6d2b1c-4f3e-4a5b-9c8d-" + std::to_string(100'000 + index),
                         "/home/u/some-application", std::chrono::system_clock::now());
    record.state = SessionState::failed;
    record.title = "Fix the login bug";
    record.tool = "Bash";
    record.summary = "npm run build && npm test -- --coverage";
    return record;
}

void write(const SessionRecord& record) {
    const auto folder = QuorvikPaths::sessionsDirectory();
    SessionStore::write(record, SessionStore::fileURL(record.source, record.sessionID, folder));
}

void waitForInput(const ControlClient& client) {
    pollfd readable{client.descriptor(), POLLIN, 0};
    ::poll(&readable, 1, 1000);
}

/// From the rename of a record to the moment at which a front end has read the state that holds it.
void measureChanges() {
    constexpr int changes = 500;
    ControlClient watcher = connect("island");
    watcher.subscribe();
    while (watcher.read())
        ;
    std::vector<double> delays;
    for (int index = 0; index < changes; ++index) {
        SessionRecord record = recordNumber(index);
        record.summary = "change " + std::to_string(index);
        const auto start = Clock::now();
        write(record);
        for (bool isSeen = false; !isSeen;) {
            waitForInput(watcher);
            while (const auto message = watcher.read()) {
                const auto* state = std::get_if<std::shared_ptr<const Snapshot>>(&*message);
                if (!state) continue;
                for (const SnapshotItem* item : (*state)->items())
                    isSeen = isSeen || item->record->summary == record.summary;
            }
        }
        delays.push_back(milliseconds(Clock::now() - start));
        std::this_thread::sleep_until(start + std::chrono::milliseconds(20));
    }
    print("1,000 records, 50 changes a second: rename to front end", delays);
}

/// From an answer to the end of the hook that asked.
void measureAnswers() {
    constexpr int answers = 200;
    const std::string event =
        R"({"session_id":"s","cwd":"/w","hook_event_name":"PermissionRequest","tool_name":"Bash",)"
        R"("tool_input":{"command":"git push"}})";
    const pid_t agent = spawn({"/bin/sleep", "1000"});
    ControlClient client = connect("island");
    std::vector<double> delays;
    for (int index = 0; index < answers; ++index) {
        Pipe input = Pipe::create();
        const pid_t hook =
            spawn({besideThis("quorvik-hook"), "--source", "claude", "--ppid", std::to_string(agent)},
                  input.readEnd.get());
        writeAll(input.writeEnd.get(), event.data(), event.size());
        input.writeEnd.close();
        Snapshot snapshot = client.snapshot();
        while (snapshot.requests.empty())
            snapshot = client.snapshot();
        const auto start = Clock::now();
        client.call("answer", {{"id", snapshot.requests.front()->request.id}, {"decision", "allow"}});
        ::waitpid(hook, nullptr, 0);
        delays.push_back(milliseconds(Clock::now() - start));
    }
    ::kill(agent, SIGKILL);
    ::waitpid(agent, nullptr, 0);
    print("answer to the hook's end", delays);
}

/// 200 requests, 50 front ends of which one never reads, 10,000 alerts: everybody gets what is theirs.
void measureCrowd() {
    std::vector<ControlClient> frontEnds;
    for (int index = 0; index < 50; ++index) {
        frontEnds.push_back(connect("watch"));
        frontEnds.back().subscribe();
    }
    std::vector<FileDescriptor> hooks;
    for (int index = 0; index < 200; ++index) {
        int error = 0;
        hooks.push_back(
            connectedSocket(QuorvikPaths::approvalSocket().string(), std::chrono::seconds(5), error));
        const std::string line = R"({"id":"r)" + std::to_string(index) +
                                 R"(","source":"claude","sessionID":"s","cwd":"/w","tool":"Bash"})"
                                 "\n";
        if (!hooks.back() || !writeAll(hooks.back().get(), line.data(), line.size())) std::abort();
    }
    ControlClient client = connect("island");
    client.call("sync");
    std::vector<double> delays;
    int arrived = 0;
    for (int index = 0; index < 200; ++index) {
        const auto start = Clock::now();
        client.call("answer", {{"id", "r" + std::to_string(index)}, {"decision", "deny"}});
        char reply[256];
        arrived += ::read(hooks[static_cast<std::size_t>(index)].get(), reply, sizeof reply) > 0;
        delays.push_back(milliseconds(Clock::now() - start));
    }
    print("200 requests, 50 front ends that never read: answer", delays);
    std::printf("%-58s %d of 200\n", "answers that reached their hook", arrived);

    const std::string alert = R"({"title":"flood","body":"","level":"info","ttl":0})";
    int shown = 0;
    const double taken = bench::seconds([&] {
        for (int index = 0; index < 10'000; ++index) {
            auto connected =
                LineSocket::connect(QuorvikPaths::alertSocket().string(), std::chrono::seconds(3));
            auto* socket = std::get_if<LineSocket>(&connected);
            if (!socket || !socket->sendLine(alert)) continue;
            const auto reply =
                socket->receiveLine(std::chrono::seconds(3), {.lineBytes = 4096, .chunkBytes = 1024});
            shown += std::holds_alternative<std::string>(reply);
        }
    });
    std::printf("%-58s %d answered, %.1f s\n", "10,000 alerts", shown, taken);
}

long field(pid_t pid, const char* name) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name)) return std::atol(line.c_str() + std::strlen(name) + 1);
    return 0;
}

long wakeUps(pid_t pid) {
    return field(pid, "voluntary_ctxt_switches") + field(pid, "nonvoluntary_ctxt_switches");
}

} // namespace

int main(int argc, char** argv) {
    const bool isIdle = argc > 1 && std::string_view(argv[1]) == "idle";
    char folder[] = "/tmp/quorvik-appbench-XXXXXX";
    if (!::mkdtemp(folder)) return 1;
    ::setenv("QUORVIK_HOME", folder, 1);
    ::setenv("HOME", folder, 1);
    ::setenv("TERM", "xterm", 1);
    QuorvikPaths::ensureDirectory(QuorvikPaths::sessionsDirectory());
    for (int index = 0; index < 1000; ++index)
        write(recordNumber(index));
    const pid_t app = spawn({besideThis("quorvik-island"), "serve"});
    connect().call("sync");

    if (isIdle) {
        // The live island wants a terminal, which script(1) makes.
        const Pipe keyboard = Pipe::create(); // nobody types, and it does not end
        const pid_t terminal = spawn({"/usr/bin/script", "-qc", besideThis("quorvik-island"), "/dev/null"},
                                     keyboard.readEnd.get());
        pid_t island = 0;
        ControlClient client = connect();
        while (island == 0) {
            const auto status = client.call("status");
            for (const auto& frontEnd : status.at("frontEnds"))
                if (frontEnd.at("role") == "island") island = frontEnd.at("pid").get<pid_t>();
        }
        std::this_thread::sleep_for(std::chrono::seconds(2));
        const long before = wakeUps(app), islandBefore = wakeUps(island);
        std::this_thread::sleep_for(std::chrono::seconds(60));
        std::printf("%-58s app %ld, island %ld\n", "wake-ups in 60 s, 1,000 records, one live island",
                    wakeUps(app) - before, wakeUps(island) - islandBefore);
        std::printf("%-58s app %.1f MB, island %.1f MB\n", "memory (resident)",
                    static_cast<double>(field(app, "VmRSS")) / 1024,
                    static_cast<double>(field(island, "VmRSS")) / 1024);
        std::fflush(stdout);
        ::kill(island, SIGTERM);
        ::kill(terminal, SIGKILL);
        ::waitpid(terminal, nullptr, 0);
    } else {
        measureChanges();
        measureAnswers();
        measureCrowd();
        std::printf("%-58s %.1f MB\n", "the app's memory at its largest",
                    static_cast<double>(field(app, "VmHWM")) / 1024);
    }
    ::kill(app, SIGTERM);
    int status = 0;
    ::waitpid(app, &status, 0);
    std::filesystem::remove_all(folder);
    return status;
}
