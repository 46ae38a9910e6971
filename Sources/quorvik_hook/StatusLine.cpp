#include "quorvik_hook/StatusLine.h"

#include "QuorvikCore/Install/StatusLineInstaller.h"
#include "QuorvikCore/JSON/OrderedJSON.h"
#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Platform/SupervisedProcess.h"
#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Text/Unicode.h"
#include "QuorvikCore/Usage/ClaudeUsage.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

namespace quorvik::StatusLine {

namespace {

constexpr std::size_t maxPayload = 1u << 20;               // bytes
constexpr const char* insideMarker = "QUORVIK_STATUSLINE"; // in the environment of the user's own status line
constexpr std::string_view separator = " · ";

/// A text for one line of a terminal; empty when there is none.
std::string text(const JSONValue& payload, std::initializer_list<std::string_view> path) {
    const JSONValue* value = payload.valueAt(path);
    const std::string* found = value ? value->stringValue() : nullptr;
    return found ? Unicode::terminalLine(*found) : "";
}

/// "42%"; empty when there is no such figure.
std::string percentage(const JSONValue& payload, std::initializer_list<std::string_view> path) {
    const JSONValue* value = payload.valueAt(path);
    const std::string* digits = value ? value->numberText() : nullptr;
    const auto figure = digits ? Number::finite(*digits) : std::nullopt;
    if (!figure || !(*figure >= 0 && *figure <= 1000)) return "";
    return std::to_string(std::lround(*figure)) + "%";
}

/// The command saved when ours was installed; absent when there is none. One of ours would run for ever.
std::optional<std::string> usersOwn() {
    auto command = StatusLineInstaller::originalCommand(StatusLineInstaller::originalFile());
    if (!command || Unicode::trimmed(*command, Unicode::isWhitespaceOrNewline).empty()) return std::nullopt;
    if (!Platform::environmentValue(insideMarker).empty())
        return std::nullopt; // it is the user's own that runs us
    JSONValue statusLine = JSONValue::object();
    statusLine.setMember("command", JSONValue::string(*command));
    if (StatusLineInstaller::isOurs(statusLine)) return std::nullopt;
    return command;
}

/// Keeps what the input says of the account's limits. The agent ends us when it wants the next line: not in
/// the middle of that.
void keepUsage(std::string_view input) {
    sigset_t termination, before;
    sigemptyset(&termination);
    sigaddset(&termination, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &termination, &before);
    std::signal(SIGXFSZ, SIG_IGN); // a file that may not grow is an error of one write
    try {
        ClaudeUsage::keep(input, std::chrono::system_clock::now());
    } catch (const std::exception&) {
        // Out of memory, say: nobody would catch it in a thread.
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

/// Hands our standard input on to the user's own status line as it comes, and keeps the usage that is in it.
class SharedInput {
  public:
    /// Makes our standard input, for a process that is started from now on, a copy of what it was.
    SharedInput() {
        auto copying = std::make_unique<Copying>();
        Pipe pipe = Pipe::create();
        copying->from = FileDescriptor(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
        copying->to = std::move(pipe.writeEnd);
        if (!copying->to || !copying->from || ::dup2(pipe.readEnd.get(), STDIN_FILENO) < 0) return;
        copying_ = std::move(copying);
    }

    /// Once that process runs: it alone reads the copy.
    void start() {
        if (!copying_) return;
        ::close(STDIN_FILENO);
        occupyStandardDescriptors();
        thread_ = std::thread([copying = copying_] { copying->run(); });
    }

    /// Once that process has ended: the usage is kept if all of the input had come.
    void finish() {
        if (!copying_) return;
        if (copying_->isDecided.test_and_set())
            thread_.join(); // it is keeping the usage, or has done so
        else
            thread_.detach(); // until this process ends
    }

  private:
    struct Copying {
        FileDescriptor from, to;
        std::atomic_flag
            isDecided; ///< whether the usage is kept: all of the input came, or the process ended

        void run() {
            std::string input;
            char block[64 * 1024];
            for (;;) {
                const ssize_t count = ::read(from.get(), block, sizeof block);
                if (count < 0 && errno == EINTR) continue;
                if (count < 0) return;
                if (count == 0) break;
                const auto size = static_cast<std::size_t>(count);
                if (input.size() + size <= maxPayload) input.append(block, size);
                if (!writeAll(to.get(), block, size)) to.close(); // it reads no more, and we need the rest
            }
            const bool isInTime = !isDecided.test_and_set();
            to.close(); // only now: the end of its input may end the other one, and us
            if (isInTime) keepUsage(input);
        }
    };

    std::shared_ptr<Copying> copying_;
    std::thread thread_;
};

} // namespace

std::string ownLine(std::string_view bytes) {
    JSONValue payload;
    try {
        payload = OrderedJSON::parse(Unicode::repaired(bytes));
    } catch (const JSONParseError&) {
        return "";
    }
    struct Part {
        std::string_view label;
        std::string value;
    };
    const Part parts[] = {
        {"", text(payload, {"model", "display_name"})},
        {"", Files::lastComponent(text(payload, {"workspace", "current_dir"}))},
        {"context ", percentage(payload, {"context_window", "used_percentage"})},
        {"5h ", percentage(payload, {"rate_limits", "five_hour", "used_percentage"})},
        {"7d ", percentage(payload, {"rate_limits", "seven_day", "used_percentage"})},
    };
    std::string line;
    for (const auto& [label, value] : parts) {
        if (value.empty()) continue;
        if (!line.empty()) line += separator;
        line += label;
        line += value;
    }
    return line;
}

void run() {
    const auto original = usersOwn();
    if (!original) {
        const auto payload = Files::readStream(STDIN_FILENO, maxPayload);
        const std::string line = payload ? ownLine(payload->text()) + "\n" : "\n";
        if (line.size() > 1) writeAll(STDOUT_FILENO, line.data(), line.size());
        if (payload) keepUsage(payload->text());
        return;
    }
    ::setenv(insideMarker, "1", 1);
    SupervisedProcess command; // ended together with us, when the agent wants the next line
    command.useOwnGroup();     // with all that it started
    SharedInput input;
    if (command.start({"/bin/sh", "-c", *original}, STDOUT_FILENO, STDERR_FILENO) != 0) return;
    input.start();
    command.wait([] { return true; });
    input.finish();
}

} // namespace quorvik::StatusLine
