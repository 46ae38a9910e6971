#pragma once

#include <chrono>

namespace quorvik::Platform {

/// Measures how long people, and programs, were kept waiting: it runs on steadily, whatever the wall clock is
/// set to, but stands still while the machine sleeps. A question that was open when the lid was closed is
/// still open when it is opened again. (std::chrono::steady_clock stands still on Linux and runs on on
/// macOS.)
struct AwakeClock {
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<AwakeClock>;
    static constexpr bool is_steady = true;

    static time_point now();
};

} // namespace quorvik::Platform
