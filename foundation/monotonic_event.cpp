// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <foundation/monotonic_event.h>

#include <cerrno>

namespace ulk {
namespace {

constexpr long NanosecondsOfSecond = 1'000'000'000;

int MakeMonotonic(pthread_cond_t& condition) noexcept {
    pthread_condattr_t attributes;
    int error = ::pthread_condattr_init(&attributes);
    if (error != 0)
        return error;
    error = ::pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    if (error == 0)
        error = ::pthread_cond_init(&condition, &attributes);
    (void)::pthread_condattr_destroy(&attributes);
    return error;
}

} // namespace

result_t ReadMonotonicClock(timespec& now) noexcept {
    timespec reading{};
    if (::clock_gettime(CLOCK_MONOTONIC, &reading) != 0)
        return ResultFromErrno(errno);
    now = reading;
    return sOk;
}

timespec After(timespec moment, std::chrono::milliseconds delay) noexcept {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(delay);
    moment.tv_sec += static_cast<std::time_t>(seconds.count());
    moment.tv_nsec += static_cast<long>(std::chrono::nanoseconds(delay - seconds).count());
    if (moment.tv_nsec >= NanosecondsOfSecond) {
        moment.tv_nsec -= NanosecondsOfSecond;
        ++moment.tv_sec;
    }
    return moment;
}

MonotonicEvent::MonotonicEvent(bool autoReset) : m_autoReset(autoReset) {
    if (const int error = MakeMonotonic(m_condition); error != 0)
        ULK_CHECK_THROW(ResultFromErrno(error), "Cannot make a condition variable on the monotonic clock");
}

MonotonicEvent::~MonotonicEvent() { (void)::pthread_cond_destroy(&m_condition); }

void MonotonicEvent::Set() noexcept {
    const std::lock_guard lock(m_mutex);
    m_isSet = true;
    (void)::pthread_cond_broadcast(&m_condition);
}

MonotonicEvent::Wait MonotonicEvent::WaitUntil(const timespec& moment) noexcept {
    const std::lock_guard lock(m_mutex);
    int error = 0;
    while (!m_isSet && error == 0)
        error = ::pthread_cond_timedwait(&m_condition, m_mutex.native_handle(), &moment);
    if (m_isSet) {
        m_isSet = !m_autoReset;
        return Wait::Set;
    }
    return error == ETIMEDOUT ? Wait::TimedOut : Wait::Failed;
}

} // namespace ulk
