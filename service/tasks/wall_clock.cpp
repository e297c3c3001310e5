// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/wall_clock.h>

#include <cerrno>
#include <ctime>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <system_error>
#include <unistd.h>

namespace tfs::service::tasks {
namespace {

/// The time zone has no way to say that it was changed.
constexpr int LongestWait = 60 * 60 * 1000; // milliseconds

constexpr std::int64_t FarFuture = std::int64_t{1} << 33; // the year 2242

void Drain(int descriptor) noexcept {
    std::uint64_t count = 0;
    // Both descriptors don't block, and a clock that was set makes the timer's read fail.
    [[maybe_unused]] const ssize_t size = ::read(descriptor, &count, sizeof(count));
}

} // namespace

SystemWallClock::SystemWallClock()
    : m_timer(::timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK)),
      m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    const int error = errno;
    if (m_timer >= 0 && m_wake >= 0)
        return;
    ::close(m_timer);
    ::close(m_wake);
    throw std::system_error(error, std::generic_category(), "no timer");
}

SystemWallClock::~SystemWallClock() {
    ::close(m_timer);
    ::close(m_wake);
}

std::int64_t SystemWallClock::Now() const noexcept {
    // Not time(), which may still tell the second before when a timer has ended.
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec;
}

void SystemWallClock::WaitUntil(std::optional<std::int64_t> until) noexcept {
    itimerspec timer{};
    // Armed in any case: a clock that is set is noticed through it.
    timer.it_value.tv_sec = static_cast<time_t>(until.value_or(FarFuture));
    if (timer.it_value.tv_sec <= 0) // 0 would disarm it
        timer.it_value.tv_sec = 1;
    ::timerfd_settime(m_timer, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &timer, nullptr);
    pollfd descriptors[] = {{m_timer, POLLIN, 0}, {m_wake, POLLIN, 0}};
    ::poll(descriptors, 2, LongestWait);
    for (const pollfd& descriptor : descriptors)
        if (descriptor.revents != 0)
            Drain(descriptor.fd);
}

void SystemWallClock::Wake() noexcept { ::eventfd_write(m_wake, 1); }

} // namespace tfs::service::tasks
