#pragma once

#include "quorvik_island/Terminal/View.h"

#include <string>
#include <vector>

/// The texts of a frame other than its items and its card.
namespace quorvik::FrameTexts {

/// What is shown when there are no items: agents that could be connected, or that nothing is going on. May be
/// empty.
std::vector<std::string> emptyIsland(const View& view);

/// All keys, from their table.
std::vector<std::string> help();

/// An unfolded item's lines.
std::vector<std::string> details(const SessionRecord& record);

/// The line above the footer: what is being typed, a message, or what does not work; empty when there is
/// nothing to say.
std::string notice(const View& view);

/// How many items wait, have failed and work: "2 wait · 1 failed · 1 works". A count of 0 is left out.
std::string counts(const Snapshot& snapshot);

} // namespace quorvik::FrameTexts
