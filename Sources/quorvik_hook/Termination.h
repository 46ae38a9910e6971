#pragma once

#include <signal.h>

namespace quorvik {

/// While one lives, SIGTERM does not end the process at once: it is noted, so that the process can leave
/// things in order before it goes. Agents send it to a hook when its user withdraws what the hook asks for.
class PostponedTermination {
  public:
    PostponedTermination();
    ~PostponedTermination(); ///< SIGTERM does what it did before
    PostponedTermination(const PostponedTermination&) = delete;
    PostponedTermination& operator=(const PostponedTermination&) = delete;

    /// Whether SIGTERM came.
    static bool isRequested();

  private:
    struct sigaction previous_;
};

} // namespace quorvik
