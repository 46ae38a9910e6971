#pragma once

#include "QuorvikApp/Model/Snapshot.h"

/// An invented session, to show what the island looks like when something is going on.
namespace quorvik::Example {

inline constexpr const char* requestID = "example-request";

/// The stages that the example repeats. The waiting stage lasts until the user answers.
inline constexpr std::size_t stages = 5, waitingStage = 2;
inline constexpr double stageSeconds = 3;

/// `now` is the moment the stage began.
Snapshot snapshot(std::size_t stage, Date now);

} // namespace quorvik::Example
