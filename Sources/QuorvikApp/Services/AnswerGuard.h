#pragma once

#include "QuorvikCore/Session/SessionRecord.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

/// Decides whether a process may answer a request.
namespace quorvik::AnswerGuard {

struct Verdict {
    std::string who;    ///< "quorvik-island, process 4711, /dev/pts/3"
    std::string reason; ///< why this process may not answer; empty when it may
};

/// An agent that may run commands could answer for itself. So a process may not answer that descends from the
/// process of an agent's session, whose environment (or that of a process it descends from) bears an agent's
/// own mark, or whose parents have ended and left it in the terminal session of an agent. This keeps out the
/// ordinary ways, not a determined process of the same user.
Verdict judge(std::int32_t pid, std::span<const std::shared_ptr<const SessionRecord>> records);

} // namespace quorvik::AnswerGuard
