// SPDX-License-Identifier: GPL-2.0-or-later
// How a bench program ends.
#pragma once

#include <cstdio>

namespace tfs::bench {

/// Prints the last line; returns the exit code, which is 1 where a goal was missed.
inline int TellVerdict(bool good) {
    std::puts(good ? "All goals are met." : "A GOAL IS MISSED.");
    return good ? 0 : 1;
}

} // namespace tfs::bench
