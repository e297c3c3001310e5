// SPDX-License-Identifier: GPL-2.0-or-later
// The statistics of tasks' runs and the sums over them.
#pragma once

#include <service/tasks/kept_state.h>

#include <cstdint>
#include <set>
#include <string_view>
#include <vector>

namespace tfs::service::tasks {

/// A part of the task registry, guarded by its lock. Times are seconds since the Unix epoch.
class StatisticsBook {
public:
    /// Of temporary tasks at most `maxKept` finished records are kept; beyond it the oldest go.
    explicit StatisticsBook(std::size_t maxKept) : m_maxKept(maxKept) {}

    /// Takes over what was kept, but for its tasks. Runs that didn't end before are ended at `now` and returned, except
    /// those of the tasks of `goOn`.
    std::vector<KeptStatistic> Restore(KeptState state, const std::set<std::uint64_t>& goOn, std::int64_t now);
    const KeptState& State() const noexcept { return m_state; }

    std::uint64_t TakeTaskId() noexcept { return m_state.nextTaskId++; }
    std::uint64_t TakeRunId() noexcept { return m_state.nextRunId++; }

    void Begin(const core::TaskInfo& task, std::uint64_t runId, std::int64_t now);
    void Update(std::uint64_t taskId, const ScanStatistic& counters, std::uint64_t bytes) noexcept;
    void Finish(std::uint64_t taskId, std::int64_t now) noexcept;
    void NoteFullScan(std::int64_t now) noexcept { m_state.lastFullScan = now; }
    void NoteUpdate(std::int64_t now) noexcept { m_state.lastUpdate = now; }

    /// Null where there is none.
    const KeptStatistic* Find(std::uint64_t taskId) const noexcept;
    const KeptStatistic* Find(std::u16string_view taskName) const noexcept;
    std::vector<OxsStatistic> All() const;
    /// Of all on-demand scans, those under way included.
    ScanStatistic Sum() const noexcept;
    void Remove(std::uint64_t taskId);

private:
    KeptStatistic* FindMutable(std::uint64_t taskId) noexcept;

    const std::size_t m_maxKept;
    KeptState m_state;
};

} // namespace tfs::service::tasks
