#pragma once

#include "QuorvikApp/Loop/EventLoop.h"

#include <functional>
#include <stdexcept>
#include <string>

namespace quorvik {

/// The app cannot run; what() says why, in one line.
class AppError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The one process per user (and support folder) that everything reports to.
namespace App {

enum class Outcome {
    ended,         ///< it ran, and was asked to end
    runsElsewhere, ///< another process is the app of this support folder
};

/// Is the app until somebody asks it to end (`stop`, SIGTERM, SIGINT, SIGHUP; a second signal ends it at
/// once). `ready` is called when clients can connect. Throws AppError.
Outcome run(const std::function<void()>& ready);

} // namespace App

} // namespace quorvik
