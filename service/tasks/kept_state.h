// SPDX-License-Identifier: GPL-2.0-or-later
// What the task registry keeps over a restart, and its file.
#pragma once

#include <contract/tfs/tasks.h>
#include <service/tasks/kept_task.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tfs::service::tasks {

/// A task's statistics and whose they are.
struct KeptStatistic {
    OxsStatistic statistic;
    std::uint64_t runId = 0;
    std::uint32_t ownerUid = 0; ///< of a temporary task; else 0
    friend bool operator==(const KeptStatistic&, const KeptStatistic&) = default;
};

struct KeptState {
    std::uint64_t nextTaskId = FirstTemporaryTaskId;
    std::uint64_t nextRunId = 1;
    std::int64_t lastFullScan = 0; ///< when the full scan last ended, unless it failed; seconds since the Unix epoch
    std::int64_t lastUpdate = 0;   ///< when the update was last completed
    ScanStatistic odsTotal;        ///< of all finished on-demand scans
    std::vector<KeptStatistic> statistics;
    std::vector<KeptTask> tasks; ///< those that always exist, and temporary ones whose run goes on
    friend bool operator==(const KeptState&, const KeptState&) = default;
};

struct LoadedState {
    KeptState state;
    std::string problem; ///< empty where the file was sound or missing; one line for the trace and the event
};

/// Reads the file; never fails. A damaged one is set aside and everything begins anew, with ids that go on from the
/// clock, so that they don't meet those of events already stored.
LoadedState LoadKeptState(const std::string& path);

/// Replaces the file atomically. Where it would become too large to be read again, temporary tasks are left out.
result_t SaveKeptState(const std::string& path, const KeptState& state) noexcept;

} // namespace tfs::service::tasks
