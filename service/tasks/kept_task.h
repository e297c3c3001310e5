// SPDX-License-Identifier: GPL-2.0-or-later
// What is kept of one task over a restart.
#pragma once

#include <contract/tfs/settings.h>
#include <contract/tfs/tasks.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tfs::service::tasks {

/// A run that hasn't come to its end.
struct KeptRun {
    bool suspended = false; ///< by a user; else the service ended before the run
    std::string checkpoint; ///< where to go on; empty: from the beginning
    ScanStatistic counters; ///< up to the checkpoint
    std::uint64_t bytes = 0;
    std::uint32_t percent = 0;
    friend bool operator==(const KeptRun&, const KeptRun&) = default;
};

/// Who made a temporary task.
struct KeptOwner {
    std::uint32_t uid = 0;
    bool isAdministrator = false;
    friend bool operator==(const KeptOwner&, const KeptOwner&) = default;
};

struct KeptTask {
    std::uint64_t taskId = 0;
    ulk::types::string16_t taskName;
    ulk::types::string16_t taskType;
    std::optional<KeptOwner> owner;                  ///< of a temporary task
    std::vector<tfs::settings::ChangeItem> settings; ///< all of them; empty: the default ones
    std::optional<TaskSchedule> schedule;            ///< without its text; empty: the default one
    std::int64_t scheduleServed = 0;                 ///< starts up to then are done with
    std::optional<KeptRun> run;
    bool stoppedByUser = false; ///< of a lasting task: it isn't to be started with the service
    friend bool operator==(const KeptTask&, const KeptTask&) = default;
};

} // namespace tfs::service::tasks
