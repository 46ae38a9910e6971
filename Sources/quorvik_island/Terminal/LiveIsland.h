#pragma once

#include "quorvik_island/Terminal/FrontEnd.h"

/// The island in a terminal, in three forms: on a screen, in lines for screen readers, and as JSON for
/// programs that drive it. Each function runs until the user quits or the terminal goes, and returns the exit
/// status.
namespace quorvik::LiveIsland {

/// Standard input and output must be a terminal. When a fatal signal ends the island, the process dies by
/// that signal.
int onScreen(const IslandServices& services);

/// Prints one line for each change, and puts what waits for an answer as numbered choices. Ends at the end of
/// standard input.
int inLines(const IslandServices& services);

/// Reads a JSON object per line from standard input: `keys` (names as Key has them, or objects with `name`,
/// `row` and `column`), `resize` ([rows, columns]), `snapshot` (as docs/control.md has it) and `time`
/// (seconds since 1970; from then on time stands still). After each line, and whenever the app has said
/// something, prints one with what there is to see: `frame` (lines), `size`, `cursor`, `mode`, `selected`,
/// `card`, `sheet`, `message`, `typed`, `filter`, `unfolded`, and `effects` of the keys.
int asJSON(const IslandServices& services);

} // namespace quorvik::LiveIsland
