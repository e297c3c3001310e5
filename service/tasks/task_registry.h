// SPDX-License-Identifier: GPL-2.0-or-later
// The one owner of tasks: their states, their runs, their statistics.
#pragma once

#include <foundation/trace.h>
#include <service/rpc/service_api.h>
#include <service/store/event_feed.h>
#include <service/tasks/job_queue.h>
#include <service/tasks/scan_task_run.h>
#include <service/tasks/statistics_book.h>
#include <service/tasks/task_state_machine.h>

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace tfs::service::tasks {

/// Owned by the service's application object. Everything from GetTaskList to LastFullScan may be called from any
/// thread, never waits and never touches the disk. Each task runs on a worker of its own. Events of state changes are
/// posted under the lock and published without it by one thread, so that their order is that of the changes.
class TaskRegistry final : public IRunHost {
public:
    /// What settings and policy let users do who aren't administrators.
    struct UserRules {
        bool allowUserManageLocalTasks = true;
        bool allowUserManageGroupTasks = true;
        std::size_t maxTemporaryOfUser = 100; ///< custom scans; administrators are bound by it too
    };
    struct Options {
        std::string stateFile;
        std::vector<std::string> fullScanAreas{"/"};
        std::vector<std::string> exclusions; ///< of all scans
        UserRules rules;
        std::size_t maxTemporary = 256;          ///< of all users, unless one of them may have more
        std::size_t maxKeptStatistics = 256;     ///< of temporary tasks; beyond it the oldest go
        std::chrono::seconds unusedLifetime{60}; ///< a task that wasn't started so long may give way to a new one
    };

    TaskRegistry(Options options, IScanEngine& engine, store::IEventPublisher& publisher,
                 ulk::Ptr<ulk::ITracer> tracer);
    ~TaskRegistry() override;

    /// Reads what was kept and tells which runs didn't end. Blocking; called once, before any other operation.
    void Load();
    /// Stops every task, waits until all have ended and writes the state. Commands are refused from then on.
    void Shutdown() noexcept;

    /// Count from now on; tasks that exist stay.
    void SetUserRules(const UserRules& rules);

    std::vector<core::TaskInfo> GetTaskList() const;
    result_t GetTaskInfo(std::u16string_view idOrName, core::TaskInfo& task) const;
    std::vector<OxsStatistic> GetStatistics() const;
    result_t GetStatistic(std::u16string_view taskName, OxsStatistic& statistic) const;
    ScanStatistic GetOdsStatistics() const;
    result_t GetSchedule(std::u16string_view taskName, TaskSchedule& schedule) const;
    std::int64_t LastFullScan() const;

    /// May this caller command the task? eNotFound where there is none.
    result_t MayCommand(const rpc::Caller& caller, std::u16string_view idOrName, bool& allowed) const;
    /// eNotFound, eAccessDenied, eInvalidState where the state doesn't allow it; else the command is taken and the
    /// rest is told by events.
    result_t Command(const rpc::Caller& caller, std::u16string_view idOrName, TaskCommand command);
    /// Of a stopped temporary task; eNotSupported for the others.
    result_t DeleteTask(const rpc::Caller& caller, std::u16string_view idOrName);
    /// eNotFound where there is none of that task; eInvalidState while the task runs.
    result_t DeleteStatistic(const rpc::Caller& caller, const OxsStatistic& statistic);
    /// eInvalidArgument for areas that no file can have; eInsufficientResources beyond the number of tasks. Whether the
    /// caller may read the areas is tested when the task runs.
    result_t CreateScanTask(const rpc::Caller& caller, const ScanSettings& settings, core::TaskInfo& task);

private:
    using Clock = std::chrono::steady_clock;

    struct Task {
        core::TaskInfo info;
        std::uint64_t runId = 0;
        Initiator commander;
        bool ownerIsAdministrator = false;
        Clock::time_point made = Clock::now();
        std::shared_ptr<ScanTaskRun> run;
        std::thread worker;
    };
    using TaskMap = std::map<std::uint64_t, Task>;

    void OnRunBegun(const TaskIdentity& task) override;
    void OnRunCounters(const TaskIdentity& task, const ScanStatistic& counters, std::uint64_t bytes) override;
    void OnRunEnded(const TaskIdentity& task, const RunOutcome& outcome) override;
    void PublishFinding(Event event) override;
    void PublishProgress(Event event) override;

    void AddFullScan() ULK_REQUIRES(m_mutex);
    const Task* Find(std::u16string_view idOrName) const ULK_REQUIRES(m_mutex);
    Task* Find(std::u16string_view idOrName) ULK_REQUIRES(m_mutex);
    bool IsAllowed(const rpc::Caller& caller, const Task& task) const ULK_REQUIRES(m_mutex);
    result_t StartRun(Task& task, const rpc::Caller& caller) ULK_REQUIRES(m_mutex);
    ScanTaskRun::Description DescribeRun(const Task& task) const;
    void Instruct(const Task& task, TaskCommand command) ULK_REQUIRES(m_mutex);
    void SetState(Task& task, TaskState::Type state) ULK_REQUIRES(m_mutex);
    void OnRunSignal(std::uint64_t taskId, RunSignal signal);
    void RemoveTask(TaskMap::iterator task) ULK_REQUIRES(m_mutex);
    bool MakeRoomFor(std::uint32_t uid) ULK_REQUIRES(m_mutex);
    void PostEvent(Event event) ULK_REQUIRES(m_mutex);
    void NameInitiator(Event& event);
    void PostSave() ULK_REQUIRES(m_mutex);
    void Save();
    void JoinLater(std::thread worker);

    const Options m_options;
    IScanEngine& m_engine;
    store::IEventPublisher& m_publisher;
    const ulk::Ptr<ulk::ITracer> m_tracer;
    UserNames m_names;

    mutable ulk::Mutex m_mutex;
    std::condition_variable_any m_allEnded;
    UserRules m_rules ULK_GUARDED_BY(m_mutex);
    TaskMap m_tasks ULK_GUARDED_BY(m_mutex);
    StatisticsBook m_statistics ULK_GUARDED_BY(m_mutex);
    std::size_t m_liveRuns ULK_GUARDED_BY(m_mutex) = 0;
    bool m_shutDown ULK_GUARDED_BY(m_mutex) = false;
    bool m_savePosted ULK_GUARDED_BY(m_mutex) = false;

    // Last, so that their threads end first.
    JobQueue m_events;      ///< publishes; findings wait for what is posted before them
    JobQueue m_conductor;   ///< hands commands to runs
    JobQueue m_housekeeper; ///< writes the state, joins ended workers
};

TaskIdentity IdentityOf(const core::TaskInfo& info, std::uint64_t runId);

} // namespace tfs::service::tasks
