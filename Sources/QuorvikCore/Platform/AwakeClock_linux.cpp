#include "QuorvikCore/Platform/AwakeClock.h"

#include <ctime>

namespace quorvik::Platform {

AwakeClock::time_point AwakeClock::now() {
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return time_point(std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec));
}

} // namespace quorvik::Platform
