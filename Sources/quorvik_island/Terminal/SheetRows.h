#pragma once

#include "quorvik_island/Terminal/Sheet.h"

namespace quorvik {

/// Adds the sheet's picture to the frame, in at most so many rows: its title, and rows of it with the
/// selected one among them. Long lines of a difference go on in rows of their own, as far as the screen goes;
/// long paths lose their beginning.
void drawSheet(const Sheet& sheet, std::size_t area, Frame& frame);

} // namespace quorvik
