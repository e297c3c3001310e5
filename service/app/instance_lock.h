// SPDX-License-Identifier: GPL-2.0-or-later
// One service at a time.
#pragma once

#include <foundation/result.h>

#include <string>

namespace tfs::service::app {

/// Holds the lock from Acquire to its end, also through a crash: the kernel lets go. The file stays.
class InstanceLock {
public:
    InstanceLock() = default;
    ~InstanceLock();
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;

    /// eLocked where another process holds it and keeps it for half a second, else the code of the system call. Writes
    /// the process number into the file, for people.
    result_t Acquire(const std::string& path) noexcept;
    void Release() noexcept;

private:
    int m_fd = -1;
};

} // namespace tfs::service::app
