#include "QuorvikCore/Session/ProcessInspector.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <string_view>

namespace quorvik::ProcessInspector {

namespace {

constexpr std::string_view shells[] = {"sh", "bash", "zsh", "dash", "fish", "env", "nice", "timeout"};
constexpr int maxParentSteps = 4;
constexpr double startTimeTolerance = 1.0; // seconds

bool isShell(std::string_view name) {
    return std::ranges::find(shells, name) != std::end(shells);
}

} // namespace

std::optional<Info> info(std::int32_t pid) {
    return Platform::processInfo(pid);
}

std::optional<Info> agentProcess(std::int32_t pid) {
    auto current = info(pid);
    for (int steps = 0; current && isShell(current->name); ++steps) {
        if (current->parentPID < 2 || steps == maxParentSteps) break;
        current = info(current->parentPID);
    }
    return current;
}

std::vector<std::string> arguments(std::int32_t pid) {
    return Platform::processArguments(pid);
}

namespace {

bool exists(std::int32_t pid) {
    return pid >= 1 && (::kill(pid, 0) == 0 || errno == EPERM);
}

bool startedAt(const Info& process, std::optional<double> startTime) {
    return !startTime || std::abs(process.startTime - *startTime) < startTimeTolerance;
}

} // namespace

bool isDaemon(const Info& process) {
    return !process.tty && process.parentPID != 0 && ::getsid(process.pid) == process.pid;
}

bool isAlive(std::int32_t pid, std::optional<double> startTime) {
    if (!exists(pid)) return false;
    if (!startTime) return true;
    const auto current = info(pid);
    return !current || startedAt(*current, startTime);
}

bool isRunning(std::int32_t pid, std::optional<double> startTime) {
    if (!exists(pid)) return false;
    const auto current = info(pid);
    return !current || (!current->isZombie && startedAt(*current, startTime));
}

} // namespace quorvik::ProcessInspector
