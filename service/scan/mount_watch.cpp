// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/mount_watch.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

namespace tfs::service::scan {

MountWatch::MountWatch() noexcept : m_table(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)) {}

bool MountWatch::Changed() noexcept {
    pollfd table{m_table.Get(), POLLPRI, 0};
    return !m_table || ::poll(&table, 1, 0) < 0 || (table.revents & (POLLPRI | POLLERR)) != 0;
}

dev_t MountWatch::RootDevice() noexcept {
    struct stat root {};
    return ::stat("/", &root) == 0 ? root.st_dev : 0;
}

} // namespace tfs::service::scan
