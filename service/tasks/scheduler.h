// SPDX-License-Identifier: GPL-2.0-or-later
// Starts tasks at the times of their schedules.
#pragma once

#include <service/tasks/scheduled_tasks.h>
#include <service/tasks/wall_clock.h>

#include <atomic>
#include <thread>

namespace tfs::service::tasks {

/// Owned by the service's application object; clock and tasks outlive it. Start and Stop by the owner, Wake from any
/// thread.
class Scheduler {
public:
    Scheduler(IWallClock& clock, IScheduledTasks& tasks) : m_clock(clock), m_tasks(tasks) {}
    ~Scheduler() { Stop(); }
    Scheduler(const Scheduler&) = delete;
    Scheduler& operator=(const Scheduler&) = delete;

    /// Tasks that run at the service's start are started, then each at its time. Once.
    void Start();
    void Stop() noexcept;
    /// A schedule was changed.
    void Wake() noexcept { m_clock.Wake(); }

private:
    void Run();
    void StartAtStart();
    /// When to look again.
    std::optional<std::int64_t> ServeDue();

    IWallClock& m_clock;
    IScheduledTasks& m_tasks;
    std::atomic<bool> m_stopping{false};
    std::thread m_thread;
};

} // namespace tfs::service::tasks
