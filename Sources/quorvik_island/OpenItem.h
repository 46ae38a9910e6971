#pragma once

#include "QuorvikCore/Session/SessionRecord.h"

#include <stdexcept>

namespace quorvik {

/// There is nowhere to go to; what() says why, in one line.
class OpenError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Goes to where the record comes from: its tmux pane, else its log in $PAGER (`onDesktop`: in the desktop's
/// program for it), else its page or file in the desktop's program for it. Runs other programs on our
/// standard streams, and waits for them. Nothing that the record says reaches a shell. Throws OpenError.
void openItem(const SessionRecord& record, bool onDesktop = false);

} // namespace quorvik
