#pragma once

#include "QuorvikCore/Session/SessionRecord.h"

#include <functional>
#include <span>
#include <string>

/// What a supervised command and one typed into a shell have in common: a session record of source `build`.
namespace quorvik::CommandSession {

Date now();

/// The words with a blank between each two.
std::string commandLine(std::span<const std::string> words);

/// The current folder; empty when the system does not tell.
std::string currentFolder();

/// Whether this exit status means that the command was stopped by an interrupt or a termination. It cannot be
/// told from a command that exits with such a status by itself.
bool wasStopped(int status);

/// Applies one step to the session's record, a fresh one (of the time `now`) if there is none, and tells the
/// app. Never throws: nobody's command suffers from a store that fails.
void publish(const std::string& sessionID, const std::string& cwd, Date now,
             const std::function<void(SessionRecord&)>& step);

} // namespace quorvik::CommandSession
