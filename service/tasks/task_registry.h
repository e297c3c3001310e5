// SPDX-License-Identifier: GPL-2.0-or-later
// The one owner of tasks: their states, their runs, their settings, schedules and statistics.
#pragma once

#include <contract/tfs/settings.h>
#include <foundation/trace.h>
#include <service/rpc/service_api.h>
#include <service/store/event_feed.h>
#include <service/tasks/job_queue.h>
#include <service/tasks/scheduled_tasks.h>
#include <service/tasks/statistics_book.h>
#include <service/tasks/task_permissions.h>
#include <service/tasks/task_publisher.h>
#include <service/tasks/task_settings.h>
#include <service/tasks/task_state_machine.h>
#include <service/tasks/task_table.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace tfs::service::tasks {

/// By the type of their tasks. A task of a type without one isn't there.
using RunFactories = std::map<std::u16string, IRunFactory*, std::less<>>;

/// Owned by the service's application object, as the factories, which outlive it. Everything behind SetUserRules may be
/// called from any thread, never waits and never touches the disk, unless it says otherwise. Each task runs on a worker
/// of its own. Events of state changes are posted under the lock and published without it by one thread, so that their
/// order is that of the changes.
class TaskRegistry final : public IRunHost, public IScheduledTasks {
public:
    using UserRules = tasks::UserRules;
    struct Options {
        std::string stateFile;
        std::vector<std::string> fullScanAreas{"/"};
        std::vector<std::string> monitoredAreas{"/"}; ///< of the file monitoring task, where its settings don't say
        UserRules rules;
        std::size_t maxTemporary = 256;                     ///< of all users, unless one of them may have more
        std::size_t maxKeptStatistics = 256;                ///< of temporary tasks; beyond it the oldest go
        std::chrono::seconds unusedLifetime{60};            ///< a task that wasn't started so long may give way
        std::chrono::milliseconds checkpointInterval{2000}; ///< the state is written for checkpoints no more often
        std::function<std::int64_t()> now;                  ///< seconds since the Unix epoch; empty: the system's clock
    };

    TaskRegistry(Options options, RunFactories factories, store::IEventPublisher& publisher,
                 ulk::Ptr<ulk::ITracer> tracer);
    ~TaskRegistry() override;

    /// Reads what was kept. A task that was suspended is so again. One that ran when the service ended is told as
    /// interrupted, and suspended where it can go on from a checkpoint. Blocking; called once, before any other
    /// operation.
    void Load();
    /// Starts the tasks that run all the time, but for those that a user has stopped. Once, behind Load.
    void StartLasting();
    /// Stops every run, waits until all have ended and writes the state: what can go on later is kept. Commands are
    /// refused from then on.
    void Shutdown() noexcept;
    /// Called without a lock whenever a schedule was changed. Set before others call.
    void SetScheduleChanged(std::function<void()> changed) { m_scheduleChanged = std::move(changed); }

    /// Count from now on; tasks that exist stay.
    void SetUserRules(const UserRules& rules);

    std::vector<core::TaskInfo> GetTaskList() const;
    result_t GetTaskInfo(std::u16string_view idOrName, core::TaskInfo& task) const;
    std::vector<OxsStatistic> GetStatistics() const;
    result_t GetStatistic(std::u16string_view taskName, OxsStatistic& statistic) const;
    ScanStatistic GetOdsStatistics() const;
    result_t GetSchedule(std::u16string_view idOrName, TaskSchedule& schedule) const;
    result_t GetProgress(std::u16string_view idOrName, TaskProgress& progress) const;
    /// eNotSupported for a task without settings.
    result_t GetSettings(std::u16string_view idOrName, tfs::settings::SettingsChangeList& settings) const;
    /// When a run of that task was last completed; seconds since the Unix epoch, 0 where none was.
    std::int64_t LastFullScan() const;
    std::int64_t LastUpdate() const;

    /// May this caller command the task? Start asks too whether there is anything to do. eNotFound where there is none.
    result_t MayCommand(const rpc::Caller& caller, std::u16string_view idOrName, TaskCommand command,
                        bool& allowed) const;
    /// eNotFound, eAccessDenied, eNotSupported for pausing what can't be paused, eInvalidState where the state doesn't
    /// allow it; else the command is taken and the rest is told by events.
    result_t Command(const rpc::Caller& caller, std::u16string_view idOrName, TaskCommand command);
    /// Of a stopped temporary task; eNotSupported for the others.
    result_t DeleteTask(const rpc::Caller& caller, std::u16string_view idOrName);
    /// eNotFound where there is none of that task; eInvalidState while the task runs.
    result_t DeleteStatistic(const rpc::Caller& caller, const OxsStatistic& statistic);
    /// eInvalidArgument for settings that no task can have; eInsufficientResources beyond the number of tasks. Whether
    /// the caller may read the areas is tested when the task runs.
    result_t CreateScanTask(const rpc::Caller& caller, const ScanSettings& settings, core::TaskInfo& task);
    /// As ITfsTaskManager's. Blocking: return when the change is on disk; a failure to write it is the result, and the
    /// change counts all the same until the service ends.
    result_t SetSettings(const rpc::Caller& caller, std::u16string_view idOrName,
                         const tfs::settings::SettingsChangeList& changes, bool toDefault,
                         ValidationMessages& messages);
    result_t SetSchedule(const rpc::Caller& caller, std::u16string_view idOrName,
                         const tfs::settings::SettingsChangeList& changes, bool toDefault,
                         ValidationMessages& messages);

    std::vector<ScheduledTask> Schedules() const override;
    void StartScheduled(std::uint64_t taskId) override;
    void NoteServed(const ScheduledTask& task, std::int64_t served) override;

private:
    void OnRunBegun(const TaskIdentity& task) override;
    void OnRunWaits(const TaskIdentity& task) override;
    void OnRunCounters(const TaskIdentity& task, const ScanStatistic& counters, std::uint64_t bytes) override;
    void OnRunProgress(const TaskIdentity& task, const RunProgress& progress) override;
    void OnRunCheckpoint(const TaskIdentity& task, const std::string& checkpoint, const ScanStatistic& counters,
                         std::uint64_t bytes) override;
    void OnRunEnded(const TaskIdentity& task, const RunOutcome& outcome) override;
    void PublishFinding(Event event) override;
    void PublishProgress(Event event) override;

    std::int64_t Now() const;
    IRunFactory* FactoryOf(std::u16string_view taskType) const noexcept;
    ulk::types::any_struct_t DefaultSettingsOf(const core::TaskInfo& task) const;
    void TellProblem(const std::string& problem) ULK_REQUIRES(m_mutex);
    void AddFixedTasks(std::vector<KeptTask>& kept) ULK_REQUIRES(m_mutex);
    void AddTemporaryTasks(std::vector<KeptTask>& kept) ULK_REQUIRES(m_mutex);
    Task MakeTask(std::uint64_t taskId, std::u16string_view name, std::u16string_view type) const;
    void TakeSettings(Task& task, const KeptTask& kept) const;
    void TakeRun(Task& task, const KeptTask& kept) ULK_REQUIRES(m_mutex);
    void ResolveOwner(std::uint64_t taskId, std::uint32_t uid) ULK_REQUIRES(m_mutex);
    Initiator InitiatorOf(const rpc::Caller& caller);

    /// Has `change(task)` done under the lock where the task is there and the caller may.
    template <class Change>
    result_t ChangeTask(const rpc::Caller& caller, std::u16string_view idOrName, Change change);
    result_t ChangeSettingsOf(Task& task, const rpc::Caller& caller, const tfs::settings::SettingsChangeList& changes,
                              bool toDefault, ValidationMessages& messages) ULK_REQUIRES(m_mutex);
    result_t ChangeScheduleOf(Task& task, const rpc::Caller& caller, const tfs::settings::SettingsChangeList& changes,
                              bool toDefault, ValidationMessages& messages) ULK_REQUIRES(m_mutex);
    bool CanStartNow(const Task& task) const ULK_REQUIRES(m_mutex);
    result_t StartRun(Task& task, Initiator initiator) ULK_REQUIRES(m_mutex);
    RunOrder OrderFor(const Task& task) const;
    void Instruct(const Task& task, TaskCommand command) ULK_REQUIRES(m_mutex);
    void SetState(Task& task, TaskState::Type state) ULK_REQUIRES(m_mutex);
    void OnRunSignal(std::uint64_t taskId, RunSignal signal);
    void TellFailure(const Task& task, const RunOutcome& outcome) ULK_REQUIRES(m_mutex);
    bool StaysForLater(Task& task, const RunOutcome& outcome) ULK_REQUIRES(m_mutex);
    void FinishRun(Task& task) ULK_REQUIRES(m_mutex);
    void RemoveTask(const Task& task) ULK_REQUIRES(m_mutex);
    void PostSave() ULK_REQUIRES(m_mutex);
    void Save();
    result_t SaveNow();
    KeptState StateToKeep() const ULK_REQUIRES(m_mutex);
    void JoinLater(std::thread worker);

    const Options m_options;
    const RunFactories m_factories;
    const ulk::Ptr<ulk::ITracer> m_tracer;
    std::function<void()> m_scheduleChanged;

    mutable ulk::Mutex m_mutex;
    std::condition_variable_any m_allEnded;
    UserRules m_rules ULK_GUARDED_BY(m_mutex);
    TaskTable m_tasks ULK_GUARDED_BY(m_mutex);
    StatisticsBook m_statistics ULK_GUARDED_BY(m_mutex);
    std::vector<KeptTask> m_unlisted ULK_GUARDED_BY(m_mutex); ///< kept for a service that can run them
    std::size_t m_liveRuns ULK_GUARDED_BY(m_mutex) = 0;
    bool m_shutDown ULK_GUARDED_BY(m_mutex) = false;
    bool m_savePosted ULK_GUARDED_BY(m_mutex) = false;
    result_t m_saveResult ULK_GUARDED_BY(m_mutex) = ulk::sOk;
    std::chrono::steady_clock::time_point m_checkpointSaved ULK_GUARDED_BY(m_mutex);

    // Last, so that their threads end first.
    TaskPublisher m_publisher;
    JobQueue m_conductor;   ///< hands commands to runs
    JobQueue m_housekeeper; ///< writes the state, joins ended workers
};

} // namespace tfs::service::tasks
