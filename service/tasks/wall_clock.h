// SPDX-License-Identifier: GPL-2.0-or-later
// The time of day, and waiting for a time of day.
#pragma once

#include <cstdint>
#include <optional>

namespace tfs::service::tasks {

class IWallClock {
public:
    virtual ~IWallClock() = default;
    /// Seconds since the Unix epoch.
    virtual std::int64_t Now() const noexcept = 0;
    /// Waits until the clock shows `until` or later, or for ever where it is empty; returns earlier when Wake was
    /// called since the last return and when the clock was set. May return for no reason. One thread.
    virtual void WaitUntil(std::optional<std::int64_t> until) noexcept = 0;
    /// From any thread.
    virtual void Wake() noexcept = 0;
};

/// The system's clock. Time that the machine sleeps through counts.
class SystemWallClock final : public IWallClock {
public:
    /// Throws std::system_error where the system has no more descriptors.
    SystemWallClock();
    ~SystemWallClock() override;
    SystemWallClock(const SystemWallClock&) = delete;
    SystemWallClock& operator=(const SystemWallClock&) = delete;

    std::int64_t Now() const noexcept override;
    void WaitUntil(std::optional<std::int64_t> until) noexcept override;
    void Wake() noexcept override;

private:
    int m_timer = -1;
    int m_wake = -1;
};

} // namespace tfs::service::tasks
