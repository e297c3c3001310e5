// SPDX-License-Identifier: GPL-2.0-or-later
// Whether a file's last change is so long ago that another one would show in its times.
#pragma once

#include <ctime>
#include <sys/stat.h>

namespace tfs::service::realtime {

/// `now` is when the status was taken. The times of files are those of the kernel's ticks, so a second is ample; a file
/// from the future never settles.
inline bool HasSettled(const struct stat& status, const timespec& now) noexcept {
    constexpr std::time_t Seconds = 2;
    return now.tv_sec - status.st_ctim.tv_sec >= Seconds && now.tv_sec - status.st_mtim.tv_sec >= Seconds;
}

} // namespace tfs::service::realtime
