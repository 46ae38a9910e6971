#pragma once

#include <string>
#include <string_view>

/// The notes of a new version as the island shows them.
namespace quorvik::ReleaseNotes {

/// The HTML as plain text: at most `maxLines` lines, separated by line feeds, none empty and none with
/// spaces or tabs around it; when there are more, one more line "…". A `maxLines` below 0 counts as 0. List
/// items, and Markdown's ("- ", "* "), begin with "• ". Tags are dropped, scripts and styles with their
/// content as long as they stand on one line; the entities of &, <, >, quotes and the no-break space are
/// decoded, once.
///
/// The notes come over the network, so whatever they are, this takes time proportional to their length. What
/// is not UTF-8 becomes U+FFFD.
std::string plainText(std::string_view html, int maxLines);

} // namespace quorvik::ReleaseNotes
