// SPDX-License-Identifier: GPL-2.0-or-later
// The tasks there are, each with all that is known of it.
#pragma once

#include <service/tasks/kept_task.h>
#include <service/tasks/task_run.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <thread>
#include <vector>

namespace tfs::service::tasks {

struct Task {
    using Clock = std::chrono::steady_clock;

    core::TaskInfo info;
    IRunFactory* factory = nullptr;
    std::vector<tfs::settings::ChangeItem> settingsText; ///< info.settings, every one of them
    bool hasOwnSettings = false;                         ///< others than the default ones
    TaskSchedule schedule;
    std::int64_t scheduleServed = 0;
    std::uint64_t runId = 0; ///< of the current or last run
    Initiator commander;
    bool ownerIsAdministrator = false;
    Clock::time_point made = Clock::now();
    TaskProgress progress;
    std::optional<KeptRun> unended; ///< while a run is under way or suspended
    std::shared_ptr<ITaskRun> run;  ///< null for one that was suspended before this service was started
    std::thread worker;
    bool stoppedByUser = false;   ///< of a lasting task
    bool endsWithService = false; ///< stopped because the service stops
};

/// What every event of the task names.
TaskIdentity IdentityOf(const Task& task);
/// What outlives a restart.
KeptTask KeptFormOf(const Task& task);

/// The text as a task's number; 0, which no task has, where it isn't one.
std::uint64_t NumberIn(std::u16string_view text) noexcept;

/// A part of the task registry, guarded by its lock.
class TaskTable {
public:
    using Map = std::map<std::uint64_t, Task>;

    /// By number or by name; null where there is none.
    Task* Find(std::u16string_view idOrName) noexcept;
    const Task* Find(std::u16string_view idOrName) const noexcept;
    /// Null where there is none.
    Task* Find(std::uint64_t taskId) noexcept;
    Task& Add(Task task);
    void Remove(std::uint64_t taskId) noexcept { m_tasks.erase(taskId); }

    std::size_t Size() const noexcept { return m_tasks.size(); }
    Map::iterator begin() noexcept { return m_tasks.begin(); }
    Map::iterator end() noexcept { return m_tasks.end(); }
    Map::const_iterator begin() const noexcept { return m_tasks.begin(); }
    Map::const_iterator end() const noexcept { return m_tasks.end(); }

    struct Limits {
        std::size_t ofUser;
        std::size_t ofAll;                   ///< unless one user may have more
        std::chrono::seconds unusedLifetime; ///< a task that wasn't started so long may give way to a new one
    };
    /// Is there room for one more temporary task of that user? `toRemove` is a task of his that has to go for it, or 0.
    bool HasRoomFor(std::uint32_t uid, const Limits& limits, std::uint64_t& toRemove) const noexcept;

private:
    Map m_tasks;
};

} // namespace tfs::service::tasks
