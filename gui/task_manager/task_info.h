// SPDX-License-Identifier: GPL-2.0-or-later
// A task as the window knows it: the service's record, and what this user may do with it.
#pragma once

#include <contract/tfs/tasks.h>

#include <cstdint>
#include <optional>
#include <string>

namespace tfs::gui {

struct TaskInfo {
    tfs::core::TaskInfo core;
    std::uint32_t scheduleMode = 0;
    ulk::types::string16_t scheduleText;
    std::int64_t scheduleFirstValue = 0;
    std::int64_t scheduleSecondValue = 0;
    std::uint8_t scheduleFlag = 0;
    bool canBeStarted = false;        ///< this user may start it
    bool canBeStopped = false;        ///< this user may stop it
    bool hasRemoteTask = false;       ///< the service still has the task
    bool hasRemoteStatistics = false; ///< the service holds statistics for it
    std::optional<OxsStatistic> statistics;
};

/// Identifiers travel as decimal text.
inline std::string TaskIdText(std::uint64_t id) { return std::to_string(id); }
inline std::string TaskIdText(FixedTaskId id) { return TaskIdText(static_cast<std::uint64_t>(id)); }

/// A custom scan made for one run.
inline bool IsTemporaryScan(const tfs::core::TaskInfo& task) {
    return task.isTemporary && task.taskType == task_type::ODS;
}

} // namespace tfs::gui
