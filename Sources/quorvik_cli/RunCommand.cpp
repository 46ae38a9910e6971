#include "quorvik_cli/RunCommand.h"

#include "quorvik_cli/CommandSession.h"
#include "quorvik_cli/Diagnostics.h"

#include "QuorvikCore/Activity/BuildLogs.h"
#include "QuorvikCore/Activity/ErrorScanner.h"
#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Platform/RandomID.h"
#include "QuorvikCore/Platform/SupervisedProcess.h"
#include "QuorvikCore/Session/ProcessInspector.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Text/Redactor.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <system_error>
#include <thread>

namespace quorvik::RunCommand {

namespace {

constexpr int keptLogDays = 7;
constexpr int keptLogs = 50;

/// What is fixed once, at the start, for the life of the command.
struct Run {
    explicit Run(const std::vector<std::string>& command_)
        : command(command_), startedAt(CommandSession::now()),
          sessionID("run-" + Platform::newUUID().substr(0, 8)),
          commandLine(Redactor::redact(CommandSession::commandLine(command_))),
          logPath(BuildLogs::logURL(sessionID)), cwd(CommandSession::currentFolder()) {
        const auto process = ProcessInspector::agentProcess(::getpid());
        if (process && process->pid == ::getpid()) pidStartTime = process->startTime;
        host = HostInfo::fromEnvironment(Platform::environment(), process ? process->tty : std::nullopt);
    }

    const std::vector<std::string>& command;
    Date startedAt;
    std::string sessionID;
    std::string commandLine; ///< fit to be shown
    std::filesystem::path logPath;
    std::string cwd;
    HostInfo host;
    std::optional<double> pidStartTime;
};

void publish(const Run& run, const std::function<void(SessionRecord&)>& step) {
    CommandSession::publish(run.sessionID, run.cwd, run.startedAt, step);
}

void publishStart(const Run& run) {
    publish(run, [&](SessionRecord& record) {
        record.state = SessionState::working;
        record.tool = Files::lastComponent(run.command[0]);
        record.summary = run.commandLine;
        record.turnStartedAt = record.stateSince = record.updatedAt = run.startedAt;
        record.lastEvent = "start";
        record.host = run.host;
        record.pid = ::getpid();
        record.pidStartTime = run.pidStartTime;
        record.logPath = run.logPath.string();
    });
}

/// Writes the fields that are the same for every end of the command; `step` sets the others.
void publishEnd(const Run& run, int exitCode, const std::function<void(SessionRecord&)>& step) {
    publish(run, [&](SessionRecord& record) {
        record.exitCode = exitCode;
        record.stateSince = record.updatedAt = CommandSession::now();
        record.lastEvent = "exit";
        record.pid.reset();
        record.pidStartTime.reset();
        step(record);
    });
}

void publishExit(const Run& run, int status, const std::optional<std::string>& errorLine) {
    publishEnd(run, status, [&](SessionRecord& record) {
        if (status == 0) {
            record.state = SessionState::done;
            record.summary = run.commandLine;
            record.detail.reset();
            return;
        }
        record.state = CommandSession::wasStopped(status) ? SessionState::ended : SessionState::failed;
        record.summary = Redactor::redact(errorLine.value_or("exit " + std::to_string(status)));
        record.detail = run.commandLine;
    });
}

int failedToStart(const Run& run, int errorNumber) {
    const std::string message = run.command[0] + ": " + std::strerror(errorNumber);
    say(message);
    publishEnd(run, exitNotStarted, [&](SessionRecord& record) {
        record.state = SessionState::failed;
        record.summary = message;
    });
    return exitNotStarted;
}

FileDescriptor openLog(const Run& run) {
    try {
        QuorvikPaths::ensureDirectory(QuorvikPaths::logsDirectory());
    } catch (const std::exception&) {
        return {};
    }
    return Files::createPrivate(run.logPath);
}

/// What both copying threads write to, besides our own standard output and error.
struct Output {
    std::mutex mutex; ///< guards the log and the scanner
    FileDescriptor log;
    ErrorScanner scanner;
    std::atomic<int> openStreams{2};
    std::atomic<int> lostBecause{0}; ///< the first error number that kept output from its target
};

/// Copies one stream until it ends. A target that takes no more loses the output but never holds up the
/// command.
void pump(FileDescriptor from, int to, bool isStderr, Output& output) {
    char buffer[16384];
    for (;;) {
        const ssize_t count = ::read(from.get(), buffer, sizeof buffer);
        if (count < 0 && errno == EINTR) continue;
        if (count < 1) return;
        const auto size = static_cast<std::size_t>(count);
        const bool isWanted = writeAll(to, buffer, size) || errno == EPIPE; // a reader that has seen enough
        if (!isWanted && output.lostBecause == 0) output.lostBecause = errno;
        const std::lock_guard lock(output.mutex);
        if (output.log) writeAll(output.log.get(), buffer, size);
        output.scanner.feed(std::string_view(buffer, size), isStderr);
    }
}

} // namespace

int run(const std::vector<std::string>& command) {
    // Made first, since from here on signals are kept for the command. Neither this nor the output is ever
    // deleted: the copying threads may outlive this function.
    SupervisedProcess& child = *new SupervisedProcess;
    Output& output = *new Output;
    const Run run(command);
    output.log = openLog(run);
    publishStart(run);

    Pipe standardOutput = Pipe::create(), standardError = Pipe::create();
    if (!standardOutput.readEnd || !standardError.readEnd) return failedToStart(run, errno);
    standardOutput.enlarge();
    standardError.enlarge();
    const auto copy = [&](FileDescriptor from, int to, bool isStderr) {
        std::thread([&child, &output, to, isStderr, from = std::move(from)]() mutable {
            pump(std::move(from), to, isStderr, output);
            --output.openStreams;
            child.wake();
            // The thread never ends. macOS delivers a signal that nobody waits for, such as Ctrl-Z's, only if
            // some thread of the process is not in sigwait().
            for (;;)
                ::pause();
        }).detach();
    };
    try {
        copy(std::move(standardOutput.readEnd), STDOUT_FILENO, false);
        copy(std::move(standardError.readEnd), STDERR_FILENO, true);
    } catch (const std::system_error& error) { // no more threads: the command would run without a reader
        return failedToStart(run, error.code().value());
    }
    const int error = child.start(command, standardOutput.writeEnd.get(), standardError.writeEnd.get());
    BuildLogs::prune(keptLogDays,
                     keptLogs + (output.log ? 1 : 0)); // while the command gets going; ours is the newest
    if (error != 0) return failedToStart(run, error);
    standardOutput.writeEnd.close();
    standardError.writeEnd.close();

    const int status = child.wait([&] { return output.openStreams == 0; });
    std::optional<std::string> errorLine;
    {
        const std::lock_guard lock(output.mutex);
        output.scanner.finish();
        errorLine = output.scanner.best();
    }
    publishExit(run, status, errorLine);
    if (const int lostBecause = output.lostBecause; lostBecause != 0)
        say("output was lost: " + std::generic_category().message(lostBecause));
    return status;
}

} // namespace quorvik::RunCommand
