// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app/instance_lock.h>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

namespace tfs::service::app {

InstanceLock::~InstanceLock() { Release(); }

result_t InstanceLock::Acquire(const std::string& path) noexcept {
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (fd < 0)
        return ulk::ResultFromErrno(errno);
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const result_t result = errno == EWOULDBLOCK ? ulk::eLocked : ulk::ResultFromErrno(errno);
        ::close(fd);
        return result;
    }
    char text[16];
    const int size = std::snprintf(text, sizeof text, "%d\n", static_cast<int>(::getpid()));
    if (::ftruncate(fd, 0) != 0 || ::write(fd, text, static_cast<std::size_t>(size)) != size) {
        // The number is for people; the lock holds without it.
    }
    m_fd = fd;
    return ulk::sOk;
}

void InstanceLock::Release() noexcept {
    if (const int fd = std::exchange(m_fd, -1); fd >= 0)
        ::close(fd);
}

} // namespace tfs::service::app
