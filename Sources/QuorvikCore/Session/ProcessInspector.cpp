#include "QuorvikCore/Session/ProcessInspector.h"

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

bool isAlive(std::int32_t pid, std::optional<double> startTime) {
    if (pid < 1) return false;
    if (::kill(pid, 0) != 0 && errno != EPERM) return false;
    if (!startTime) return true;
    const auto current = info(pid);
    return !current || std::abs(current->startTime - *startTime) < startTimeTolerance;
}

} // namespace quorvik::ProcessInspector
