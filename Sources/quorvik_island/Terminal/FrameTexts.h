#pragma once

#include "quorvik_island/Terminal/View.h"

#include <string>
#include <vector>

/// What a frame says besides its items and its card.
namespace quorvik::FrameTexts {

/// Where there are no items: who could be connected, or that nothing is going on. May be empty.
std::vector<std::string> emptyIsland(const View& view);

/// All keys, from their table.
std::vector<std::string> help();

/// An unfolded item's lines.
std::vector<std::string> details(const SessionRecord& record);

/// One line above the footer: what is being typed, a message, what does not work; empty when there is
/// nothing.
std::string notice(const View& view);

/// "2 wait · 1 failed · 1 works"; what there is none of is left out.
std::string counts(const Snapshot& snapshot);

} // namespace quorvik::FrameTexts
