#pragma once

#include "QuorvikCore/Platform/ProcessTable.h"

/// Which process and terminal a session belongs to. An unknown or vanished process is an absent answer, never
/// an error.
namespace quorvik::ProcessInspector {

using Info = Platform::ProcessInfo;

/// One query of the kernel's process table.
std::optional<Info> info(std::int32_t pid);

/// The first process, walking up from `pid`, that is not a shell or a launcher such as env: an agent's hook
/// is typically run by "sh -c", started by the agent. After four steps, or at a shell whose parent is init,
/// that shell is the answer. Absent when `pid`, or a parent on the way, does not exist.
std::optional<Info> agentProcess(std::int32_t pid);

/// The words that the process was started with, its own name first; empty when it is unknown.
std::vector<std::string> arguments(std::int32_t pid);

/// Whether the process has no terminal and made itself a session of its own, as daemons do: it may work for
/// people who sit at any terminal. A container's first process, and one that was started in it from outside,
/// is none.
bool isDaemon(const Info& process);

/// Whether the process exists (another user's counts) and, when `startTime` (seconds since 1970) is given,
/// started within less than a second of it: a pid is reused sooner or later.
bool isAlive(std::int32_t pid, std::optional<double> startTime);

/// isAlive(), and the process has not ended: a process that was killed stays in the table until its parent
/// has asked for its status.
bool isRunning(std::int32_t pid, std::optional<double> startTime);

} // namespace quorvik::ProcessInspector
