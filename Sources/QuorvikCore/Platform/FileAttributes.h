#pragma once

namespace quorvik::Platform {

/// Gives the file `to` what `from` has besides owner, group and mode: with `withAccess` its access control
/// list, and its extended attributes (on macOS tags among them; on Linux those of the user). Both are open
/// files. A file system that has neither is no failure; false, with errno, when the list, or an attribute,
/// could not be carried over.
bool copyAttributes(int from, int to, bool withAccess);

} // namespace quorvik::Platform
