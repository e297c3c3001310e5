// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <ctime>

namespace tfs::bench {

/// Of all threads of this process, in milliseconds. Says on a busy machine, too, what something costs.
inline double ProcessorTime() {
    timespec time{};
    (void)::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

} // namespace tfs::bench
