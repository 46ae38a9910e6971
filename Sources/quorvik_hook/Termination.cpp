#include "quorvik_hook/Termination.h"

namespace quorvik {

namespace {

volatile sig_atomic_t requested = 0;

} // namespace

PostponedTermination::PostponedTermination() {
    struct sigaction noting {};
    noting.sa_handler = [](int) { requested = 1; };
    ::sigaction(SIGTERM, &noting, &previous_); // without SA_RESTART: waits are to end
}

PostponedTermination::~PostponedTermination() {
    ::sigaction(SIGTERM, &previous_, nullptr);
}

bool PostponedTermination::isRequested() {
    return requested != 0;
}

} // namespace quorvik
