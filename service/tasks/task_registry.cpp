// SPDX-License-Identifier: GPL-2.0-or-later
// Beginning and end of the registry, and what it answers.
#include <service/tasks/fixed_tasks.h>
#include <service/tasks/task_registry.h>
#include <tfs_common/settings_tools.h>
#include <tfs_common/task_schedule.h>

#include <algorithm>
#include <ctime>
#include <utility>

namespace tfs::service::tasks {
namespace {

std::string ReasonOfInterruption(std::u16string_view taskType) {
    return TraitsOf(taskType).changesSignatures ? "The service ended during the update"
                                                : "The service ended during the scan";
}

TaskIdentity IdentityOf(const KeptStatistic& kept) {
    return {kept.statistic.taskId, kept.statistic.taskName, kept.statistic.taskType, kept.runId};
}

/// Where it can go on, or where its owner expects to find it.
bool GoesOn(const KeptTask& kept) { return kept.run && (kept.run->suspended || !kept.run->checkpoint.empty()); }

void GiveSchedule(Task& task, const TaskSchedule& schedule) {
    task.schedule = schedule;
    task.schedule.text = ulk::text::ToUtf16Lossy(tools::PrintSchedule(schedule));
}

} // namespace

TaskRegistry::TaskRegistry(Options options, RunFactories factories, store::IEventPublisher& publisher,
                           ulk::Ptr<ulk::ITracer> tracer)
    : m_options(std::move(options)), m_factories(std::move(factories)), m_tracer(std::move(tracer)),
      m_rules(m_options.rules), m_statistics(m_options.maxKeptStatistics), m_publisher(publisher) {}

TaskRegistry::~TaskRegistry() { Shutdown(); }

std::int64_t TaskRegistry::Now() const { return m_options.now ? m_options.now() : std::time(nullptr); }

IRunFactory* TaskRegistry::FactoryOf(std::u16string_view taskType) const noexcept {
    const auto found = m_factories.find(taskType);
    return found == m_factories.end() ? nullptr : found->second;
}

ulk::types::any_struct_t TaskRegistry::DefaultSettingsOf(const core::TaskInfo& task) const {
    ulk::types::any_struct_t settings = DefaultSettings(task.taskType);
    if (const auto* monitoring = settings.Get<FileMonitoringSettings>()) {
        FileMonitoringSettings own = *monitoring;
        own.areas = m_options.monitoredAreas;
        settings.Set(std::move(own));
    }
    if (task.taskType != task_type::ODS)
        return settings;
    ScanSettings scan;
    const auto* own = task.settings.Get<ScanSettings>();
    scan.areas = task.isTemporary && own != nullptr ? own->areas : m_options.fullScanAreas;
    settings.Set(std::move(scan));
    return settings;
}

void TaskRegistry::Load() {
    LoadedState loaded = LoadKeptState(m_options.stateFile);
    const ulk::LockGuard lock(m_mutex);
    if (!loaded.problem.empty())
        TellProblem(loaded.problem);
    std::vector<KeptTask> kept = std::move(loaded.state.tasks);
    std::set<std::uint64_t> goOn;
    for (const KeptTask& task : kept)
        if (GoesOn(task) && FactoryOf(task.taskType) != nullptr)
            goOn.insert(task.taskId);
    for (const KeptStatistic& ended : m_statistics.Restore(std::move(loaded.state), goOn, std::time(nullptr)))
        if (!TraitsOf(ended.statistic.taskType).isLasting) // its end is no interruption: it goes on with the service
            m_publisher.Post(MakeInterrupted(IdentityOf(ended), ReasonOfInterruption(ended.statistic.taskType)));
    AddFixedTasks(kept);
    AddTemporaryTasks(kept);
    PostSave();
}

void TaskRegistry::TellProblem(const std::string& problem) {
    ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << problem;
    Event event;
    event.type = types::EventName::IntegrityCheckFailed;
    event.severity = types::EventSeverity::High;
    event.Add(types::AdditionalName::Path, m_options.stateFile);
    event.Add(types::AdditionalName::Information, problem);
    m_publisher.Post(std::move(event));
}

Task TaskRegistry::MakeTask(std::uint64_t taskId, std::u16string_view name, std::u16string_view type) const {
    Task task;
    task.info.taskId = taskId;
    task.info.taskName = ulk::types::string16_t(name);
    task.info.taskType = ulk::types::string16_t(type);
    task.factory = FactoryOf(type);
    return task;
}

void TaskRegistry::TakeSettings(Task& task, const KeptTask& kept) const {
    if (kept.settings.empty() || task.info.settings.empty())
        return;
    ValidationMessages messages;
    const tfs::settings::SettingsChangeList changes{task.info.settings.type(), kept.settings, true};
    if (ChangeSettings(task.info.settings, task.info.taskType, changes, messages, task.info.settings) == ulk::sOk) {
        task.hasOwnSettings = true;
    } else {
        ULK_TRACE(m_tracer.Get(), ulk::level::Failure)
            << "Settings of task " << task.info.taskName << " are of no use any more; defaults are in force";
    }
}

void TaskRegistry::TakeRun(Task& task, const KeptTask& kept) {
    if (const KeptStatistic* statistic = m_statistics.Find(task.info.taskId)) {
        task.info.startTime = statistic->statistic.startTime;
        task.info.stopTime = statistic->statistic.finishTime;
        task.runId = statistic->runId;
    }
    if (!GoesOn(kept))
        return;
    task.unended = kept.run;
    // What was settled ahead of the checkpoint comes again.
    m_statistics.Update(task.info.taskId, kept.run->counters, kept.run->bytes);
    task.progress.percent = kept.run->percent;
    task.info.state = TaskState::Suspended;
    if (!std::exchange(task.unended->suspended, true))
        m_publisher.Post(MakeInterrupted(IdentityOf(task), ReasonOfInterruption(task.info.taskType)));
}

void TaskRegistry::AddFixedTasks(std::vector<KeptTask>& kept) {
    for (const FixedTask& fixed : FixedTasks()) {
        const auto id = static_cast<std::uint64_t>(fixed.id);
        const auto found =
            std::find_if(kept.begin(), kept.end(), [id](const KeptTask& task) { return task.taskId == id; });
        Task task = MakeTask(id, fixed.name, fixed.type);
        if (task.factory == nullptr) {
            if (found != kept.end())
                m_unlisted.push_back(std::move(*found));
            continue;
        }
        const KeptTask last = found != kept.end() ? std::move(*found) : KeptTask();
        task.info.cannotBeDeleted = true;
        task.info.settings = DefaultSettingsOf(task.info);
        TakeSettings(task, last);
        task.settingsText = tools::ListSettings(nullptr, task.info.settings);
        const bool isGood = last.schedule && tools::IsSchedule(*last.schedule);
        GiveSchedule(task, isGood ? *last.schedule : DefaultSchedule(fixed.type));
        task.scheduleServed = isGood ? last.scheduleServed : Now();
        task.stoppedByUser = last.stoppedByUser;
        TakeRun(task, last);
        m_tasks.Add(std::move(task));
    }
}

void TaskRegistry::AddTemporaryTasks(std::vector<KeptTask>& kept) {
    for (const KeptTask& last : kept) {
        if (!last.owner || last.taskId < FirstTemporaryTaskId || !GoesOn(last))
            continue;
        Task task = MakeTask(last.taskId, last.taskName, last.taskType);
        ScanSettings unknown;
        unknown.areas = m_options.fullScanAreas;
        task.info.settings.Set(std::move(unknown));
        TakeSettings(task, last);
        if (task.factory == nullptr || !task.hasOwnSettings) {
            m_statistics.Finish(last.taskId, Now());
            continue;
        }
        task.settingsText = tools::ListSettings(nullptr, task.info.settings);
        task.info.isTemporary = true;
        task.info.cannotBeDeleted = false;
        task.info.owner = TaskOwner{last.owner->uid, m_publisher.Names().Known(last.owner->uid)};
        task.ownerIsAdministrator = last.owner->isAdministrator;
        TakeRun(task, last);
        m_tasks.Add(std::move(task));
        ResolveOwner(last.taskId, last.owner->uid);
    }
}

void TaskRegistry::ResolveOwner(std::uint64_t taskId, std::uint32_t uid) {
    m_publisher.Jobs().Post([this, taskId, uid] {
        auto name = m_publisher.Names().Resolve(uid);
        const ulk::LockGuard lock(m_mutex);
        if (Task* task = m_tasks.Find(taskId))
            task->info.owner->userName = std::move(name);
    });
}

void TaskRegistry::Shutdown() noexcept {
    ulk::LockGuard lock(m_mutex);
    const bool isFirst = !std::exchange(m_shutDown, true);
    for (auto& [id, task] : m_tasks) {
        if (!isFirst || !task.run || task.info.state == TaskState::Stopping)
            continue;
        task.endsWithService = true;
        if (task.info.state == TaskState::Suspended || task.info.state == TaskState::Pausing) {
            task.unended->suspended = true;
        } else {
            task.commander = Initiator();
            SetState(task, TaskState::Stopping);
        }
        Instruct(task, TaskCommand::Stop);
    }
    while (m_liveRuns > 0)
        m_allEnded.wait(lock);
    lock.unlock();
    m_publisher.Flush();
    m_housekeeper.Flush();
}

void TaskRegistry::SetUserRules(const UserRules& rules) {
    const ulk::LockGuard lock(m_mutex);
    m_rules = rules;
}

std::vector<core::TaskInfo> TaskRegistry::GetTaskList() const {
    const ulk::LockGuard lock(m_mutex);
    std::vector<core::TaskInfo> list;
    list.reserve(m_tasks.Size());
    for (const auto& [id, task] : m_tasks)
        list.push_back(task.info);
    return list;
}

result_t TaskRegistry::GetTaskInfo(std::u16string_view idOrName, core::TaskInfo& info) const {
    const ulk::LockGuard lock(m_mutex);
    const Task* task = m_tasks.Find(idOrName);
    if (task == nullptr)
        return ulk::eNotFound;
    info = task->info;
    return ulk::sOk;
}

std::vector<OxsStatistic> TaskRegistry::GetStatistics() const {
    const ulk::LockGuard lock(m_mutex);
    return m_statistics.All();
}

result_t TaskRegistry::GetStatistic(std::u16string_view taskName, OxsStatistic& statistic) const {
    const ulk::LockGuard lock(m_mutex);
    const KeptStatistic* kept = m_statistics.Find(taskName);
    if (kept == nullptr)
        kept = m_statistics.Find(NumberIn(taskName));
    if (kept == nullptr)
        return ulk::eNotFound;
    statistic = kept->statistic;
    return ulk::sOk;
}

ScanStatistic TaskRegistry::GetOdsStatistics() const {
    const ulk::LockGuard lock(m_mutex);
    return m_statistics.Sum();
}

result_t TaskRegistry::GetSchedule(std::u16string_view idOrName, TaskSchedule& schedule) const {
    const ulk::LockGuard lock(m_mutex);
    const Task* task = m_tasks.Find(idOrName);
    if (task == nullptr)
        return ulk::eNotFound;
    schedule = task->schedule;
    return ulk::sOk;
}

result_t TaskRegistry::GetProgress(std::u16string_view idOrName, TaskProgress& progress) const {
    const ulk::LockGuard lock(m_mutex);
    const Task* task = m_tasks.Find(idOrName);
    if (task == nullptr)
        return ulk::eNotFound;
    progress = task->progress;
    if (task->info.state != TaskState::Started)
        progress.secondsLeft.reset();
    return ulk::sOk;
}

result_t TaskRegistry::GetSettings(std::u16string_view idOrName, tfs::settings::SettingsChangeList& settings) const {
    const ulk::LockGuard lock(m_mutex);
    const Task* task = m_tasks.Find(idOrName);
    if (task == nullptr)
        return ulk::eNotFound;
    if (task->info.settings.empty())
        return ulk::eNotSupported;
    settings = {task->info.settings.type(), task->settingsText, false};
    return ulk::sOk;
}

std::int64_t TaskRegistry::LastFullScan() const {
    const ulk::LockGuard lock(m_mutex);
    return m_statistics.State().lastFullScan;
}

std::int64_t TaskRegistry::LastUpdate() const {
    const ulk::LockGuard lock(m_mutex);
    return m_statistics.State().lastUpdate;
}

} // namespace tfs::service::tasks
