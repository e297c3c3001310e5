// SPDX-License-Identifier: GPL-2.0-or-later
// A flag to wait for until a moment of the monotonic clock.
#pragma once

#include <foundation/result.h>

#include <chrono>
#include <ctime>
#include <mutex>
#include <pthread.h>

namespace ulk {

/// The clock that no change of the time of day moves. The code of the call where it can't be read; `now` is left alone
/// then.
result_t ReadMonotonicClock(timespec& now) noexcept;

timespec After(timespec moment, std::chrono::milliseconds delay) noexcept;

/// From any thread. Says what became of a wait, also that it wasn't possible, which the standard condition variable
/// keeps to itself.
class MonotonicEvent {
public:
    enum class Wait { Set, TimedOut, Failed };

    /// With `autoReset` one wait takes the flag away; without, it stays for good. Throws CheckResultFailedException.
    explicit MonotonicEvent(bool autoReset);
    /// Nobody waits any more.
    ~MonotonicEvent();
    MonotonicEvent(const MonotonicEvent&) = delete;
    MonotonicEvent& operator=(const MonotonicEvent&) = delete;

    void Set() noexcept;
    /// Returns at once where the flag is set. A moment that is no time at all makes the wait fail.
    Wait WaitUntil(const timespec& moment) noexcept;

private:
    std::mutex m_mutex; // not ulk::Mutex: the wait needs the system's own
    pthread_cond_t m_condition;
    const bool m_autoReset;
    bool m_isSet = false;
};

} // namespace ulk
