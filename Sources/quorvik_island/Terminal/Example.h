#pragma once

#include "QuorvikApp/Model/Snapshot.h"

/// A session that is only played: what the island looks like when there is something to see.
namespace quorvik::Example {

inline constexpr const char* requestID = "example-request";

/// The stages it goes through, over and over; the one that waits for an answer stays until there is one.
inline constexpr std::size_t stages = 5, waitingStage = 2;
inline constexpr double stageSeconds = 3;

/// `now` is the moment the stage began.
Snapshot snapshot(std::size_t stage, Date now);

} // namespace quorvik::Example
