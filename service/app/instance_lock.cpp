// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app/instance_lock.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace tfs::service::app {
namespace {

/// A service that was killed while it started a child leaves the lock to that child until it has become another
/// program: a matter of milliseconds.
constexpr std::chrono::milliseconds Patience{500};
constexpr std::chrono::milliseconds Pause{10};

/// 0, or the errno of the last attempt.
int LockWithPatience(int fd) noexcept {
    const auto deadline = std::chrono::steady_clock::now() + Patience;
    while (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK || std::chrono::steady_clock::now() >= deadline)
            return errno;
        std::this_thread::sleep_for(Pause);
    }
    return 0;
}

} // namespace

InstanceLock::~InstanceLock() { Release(); }

result_t InstanceLock::Acquire(const std::string& path) noexcept {
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (fd < 0)
        return ulk::ResultFromErrno(errno);
    if (const int error = LockWithPatience(fd); error != 0) {
        ::close(fd);
        return error == EWOULDBLOCK ? ulk::eLocked : ulk::ResultFromErrno(error);
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
