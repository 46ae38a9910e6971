#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <vector>

namespace quorvik::bench {

/// Seconds that one call takes.
inline double seconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

/// Runs both in turn, so that the machine's moods meet both alike, and prints the medians and their ratio:
/// "what: 1.23 x yardstick (1.5 ms, 1.2 ms)".
inline double compare(const char* what, int rounds, const std::function<void()>& candidate,
                      const char* yardstickName, const std::function<void()>& yardstick) {
    std::vector<double> ours, theirs;
    for (int round = 0; round < rounds; ++round) {
        theirs.push_back(seconds(yardstick));
        ours.push_back(seconds(candidate));
    }
    const double ratio = median(ours) / median(theirs);
    std::printf("%-58s %6.2f x %s (%.3f ms, %.3f ms)\n", what, ratio, yardstickName, median(ours) * 1e3,
                median(theirs) * 1e3);
    std::fflush(stdout);
    return ratio;
}

} // namespace quorvik::bench
