#pragma once

#include <string>
#include <string_view>

/// An agent's status line, drawn by us in the place of the user's own.
namespace quorvik::StatusLine {

/// Draws it on standard output. The user's own status line, if one was saved when ours was installed, takes
/// the place of this process, run by a shell: it gets our standard input as it comes, our environment
/// (COLUMNS, LINES) and our standard output. Without a saved one, prints ownLine() of standard input. What
/// the input says of the account's limits is kept (ClaudeUsage), after the line is drawn, or while the user's
/// own is.
void run();

/// One short line: the model, the folder, how full the context window is and how much of the account's limits
/// is used, each when the payload tells: "Opus 5.5 · w · context 12% · 5h 42% · 7d 7%". Empty when it tells
/// nothing, or is no JSON.
std::string ownLine(std::string_view payload);

} // namespace quorvik::StatusLine
