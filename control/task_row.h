// SPDX-License-Identifier: GPL-2.0-or-later
// A task with what its record doesn't hold: how far it has come and when it is run.
#pragma once

#include <contract/tfs/tasks.h>

#include <optional>
#include <string>

namespace tfs::control {

struct TaskRow {
    core::TaskInfo task;
    std::optional<TaskProgress> progress; ///< of the run in hand; empty where there is none
    std::string schedule;                 ///< for people, UTF-8; empty where the task has none
};

/// Asks the service for the rest. A task that goes meanwhile, or has neither, leaves both empty.
TaskRow RowOf(ITfsTaskManager& tasks, core::TaskInfo task);

} // namespace tfs::control
