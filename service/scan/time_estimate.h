// SPDX-License-Identifier: GPL-2.0-or-later
// How long a run will still take, from the rate of its last half minute. Guarded by its owner.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

namespace tfs::service::scan {

class TimeEstimate {
public:
    using Clock = std::chrono::steady_clock;
    /// What a rate is taken from at most, and at least.
    static constexpr std::chrono::seconds Window{30};
    static constexpr std::chrono::seconds LeastWindow{2};

    /// So much is done by now; called several times a second at most.
    void Note(Clock::time_point now, std::uint64_t done);
    /// Time that passes while the run is held doesn't count: the next Note goes on where the last one was.
    void SkipTime() noexcept { m_skip = true; }
    /// Seconds for what is left; nothing while the rate can't be told.
    std::optional<std::uint32_t> Left(std::uint64_t left) const noexcept;

private:
    struct Sample {
        Clock::duration at; ///< of the run's own time
        std::uint64_t done;
    };
    std::deque<Sample> m_samples;
    Clock::time_point m_last;
    Clock::duration m_time{};
    bool m_skip = true;
};

} // namespace tfs::service::scan
