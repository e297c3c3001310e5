// SPDX-License-Identifier: GPL-2.0-or-later
// For threads of the service and workers of the scanner that have time: all others come first.
#pragma once

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tfs::scanner {

/// Puts the calling thread, and what it forks, at niceness 10 and the idle I/O class. There is no way back without
/// privileges. Where the system declines, nothing changes and nothing else fails.
inline void TakeLowPriority() noexcept {
    constexpr int Niceness = 10;
    constexpr int OneThread = 1;              // IOPRIO_WHO_PROCESS; no header of the C library has these
    constexpr int IdleClass = 3 << 13;        // IOPRIO_CLASS_IDLE
    ::setpriority(PRIO_PROCESS, 0, Niceness); // of this thread alone, which is Linux's way
    ::syscall(SYS_ioprio_set, OneThread, 0, IdleClass);
}

} // namespace tfs::scanner
