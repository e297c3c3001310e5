// SPDX-License-Identifier: GPL-2.0-or-later
// How many workers a scan in the background may have beside what else the machine is at. Used on one thread at a time.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <sys/types.h>
#include <vector>

namespace tfs::service::scan {

/// The rule: as many workers as processors that others leave idle, at least one; a step for each look, so that a short
/// burst changes little.
class LoadGauge {
public:
    explicit LoadGauge(std::uint32_t most) noexcept : m_most(most), m_allowed(most) {}
    /// `others`: processors that others kept busy since the last look, as a fraction of all `processors`.
    void Take(double processors, double others) noexcept;
    std::uint32_t Allowed() const noexcept { return m_allowed; }

private:
    std::uint32_t m_most;
    std::uint32_t m_allowed;
};

class LoadWatch {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::seconds Interval{1};

    /// `most` workers at best.
    explicit LoadWatch(std::uint32_t most) noexcept : m_gauge(most) {}
    bool IsDue(Clock::time_point now) const noexcept { return now - m_lookedAt >= Interval; }
    /// Reads /proc. The time of this process and of `own` ones isn't others'.
    void Look(Clock::time_point now, const std::vector<pid_t>& own);
    std::uint32_t Allowed() const noexcept { return m_gauge.Allowed(); }

private:
    LoadGauge m_gauge;
    Clock::time_point m_lookedAt;
    std::uint64_t m_busy = 0; ///< of all processors, ticks
    std::uint64_t m_total = 0;
    std::map<pid_t, std::uint64_t> m_own; ///< ticks
};

} // namespace tfs::service::scan
