#pragma once

namespace quorvik {

/// Gives the open file `to` what people attach to the open file `from` besides owner, group and mode: its
/// access control list and its extended attributes (tags, comments). What the file system does not know is
/// passed over. False, with errno set, when something that is there cannot be copied.
bool copyAttributes(int from, int to);

} // namespace quorvik
