// SPDX-License-Identifier: GPL-2.0-or-later
// Which state follows which: pure tables, no owner, any thread.
#pragma once

#include <contract/tfs/value_tables.h>

#include <optional>

namespace tfs::service::tasks {

using TaskState = types::TaskState;

/// What a user may ask of a task.
enum class TaskCommand { Start, Stop, Pause, Resume };

/// What a task's run tells.
enum class RunSignal {
    Begun,  ///< the scan goes on its way
    Waits,  ///< and is back at the beginning
    Held,   ///< pausing is done
    GoneOn, ///< resuming is done
    Ended,  ///< for whatever reason
};

/// Empty where the state doesn't allow the command.
std::optional<TaskState::Type> StateAfter(TaskState::Type state, TaskCommand command) noexcept;

/// Empty where the signal has come too late: a newer command overtook it.
std::optional<TaskState::Type> StateAfter(TaskState::Type state, RunSignal signal) noexcept;

} // namespace tfs::service::tasks
