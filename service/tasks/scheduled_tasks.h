// SPDX-License-Identifier: GPL-2.0-or-later
// Tasks, as the scheduler sees them.
#pragma once

#include <contract/tfs/tasks.h>

#include <cstdint>
#include <vector>

namespace tfs::service::tasks {

struct ScheduledTask {
    std::uint64_t taskId = 0;
    TaskSchedule schedule;
    std::int64_t served = 0; ///< starts up to then are done with; seconds since the Unix epoch
    friend bool operator==(const ScheduledTask&, const ScheduledTask&) = default;
};

/// Implemented by the task registry. Called on the scheduler's thread; never waits.
class IScheduledTasks {
public:
    virtual ~IScheduledTasks() = default;
    /// Those that have a schedule other than by hand.
    virtual std::vector<ScheduledTask> Schedules() const = 0;
    /// Starts the task, where it can be started now, in the name of the scheduler. A task that isn't stopped is passed
    /// over.
    virtual void StartScheduled(std::uint64_t taskId) = 0;
    /// Starts of that schedule up to then are done with. Nothing, where the task has got another schedule meanwhile.
    virtual void NoteServed(const ScheduledTask& task, std::int64_t served) = 0;
};

} // namespace tfs::service::tasks
