// SPDX-License-Identifier: GPL-2.0-or-later
// A time of day that stands still until the test sets it.
#pragma once

#include <service/tasks/wall_clock.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>

namespace tfs::service::tests {

inline constexpr std::int64_t Monday = 1767571200; // 2026-01-05 00:00:00 UTC

class TestClock final : public tasks::IWallClock {
public:
    std::int64_t Now() const noexcept override {
        const std::lock_guard lock(m_mutex);
        return m_now;
    }
    void WaitUntil(std::optional<std::int64_t> until) noexcept override {
        std::unique_lock lock(m_mutex);
        m_until = until;
        ++m_waits;
        m_isWaiting = true;
        m_changed.notify_all();
        m_changed.wait(lock, [&] { return m_woken || (until && m_now >= *until); });
        m_woken = false;
        m_isWaiting = false;
    }
    void Wake() noexcept override {
        const std::lock_guard lock(m_mutex);
        m_woken = true;
        m_changed.notify_all();
    }
    /// As the system's clock, it ends a wait when it is set.
    void Set(std::int64_t now) {
        const std::lock_guard lock(m_mutex);
        m_now = now;
        m_woken = true;
        m_changed.notify_all();
    }
    /// Waits until whoever waits has looked at the time that was set last and waits again; until when.
    std::optional<std::int64_t> NextWait() {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_isWaiting && !m_woken && m_waits > m_seen; });
        m_seen = m_waits;
        return m_until;
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::int64_t m_now = Monday;
    std::optional<std::int64_t> m_until;
    bool m_woken = false;
    bool m_isWaiting = false;
    int m_waits = 0;
    int m_seen = 0;
};

} // namespace tfs::service::tests
