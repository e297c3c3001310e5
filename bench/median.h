// SPDX-License-Identifier: GPL-2.0-or-later
// How long a piece of work takes.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

namespace tfs::bench {

inline double MillisecondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

inline double MedianOf(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// The median of `rounds` runs, in milliseconds.
inline double MedianMilliseconds(const std::function<void()>& work, int rounds = 21) {
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round)
        times.push_back(MillisecondsOf(work));
    return MedianOf(std::move(times));
}

struct Medians {
    double ours;
    double theirs;
};

/// The same of two pieces of work, run in turn, so that what slows the machine down for a while slows both.
inline Medians MediansInTurn(const std::function<void()>& ours, const std::function<void()>& theirs, int rounds = 51) {
    std::vector<double> ourTimes;
    std::vector<double> theirTimes;
    for (int round = 0; round < rounds; ++round) {
        ourTimes.push_back(MillisecondsOf(ours));
        theirTimes.push_back(MillisecondsOf(theirs));
    }
    return {MedianOf(std::move(ourTimes)), MedianOf(std::move(theirTimes))};
}

} // namespace tfs::bench
