// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/task_registry.h>

#include <algorithm>
#include <charconv>
#include <ctime>
#include <system_error>
#include <utility>

namespace tfs::service::tasks {
namespace {

constexpr std::size_t MaxAreas = 1024;
constexpr std::size_t MaxAreaLength = 4095;
constexpr std::size_t MaxAreasTotal = 256 * 1024;

constexpr auto FullScanId = static_cast<std::uint64_t>(FixedTaskId::FullScan);

/// The text as a task's number; 0, which no task has, where it isn't one.
std::uint64_t NumberIn(std::u16string_view text) {
    std::string digits;
    for (const char16_t unit : text) {
        if (unit < u'0' || unit > u'9' || digits.size() > 20)
            return 0;
        digits.push_back(static_cast<char>(unit));
    }
    std::uint64_t number = 0;
    const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return parsed.ec == std::errc() && parsed.ptr == digits.data() + digits.size() ? number : 0;
}

/// By number or by name; null where there is none.
template <class Map>
auto FindIn(Map& tasks, std::u16string_view idOrName) -> decltype(&tasks.begin()->second) {
    const std::uint64_t number = NumberIn(idOrName);
    if (const auto found = tasks.find(number); number != 0 && found != tasks.end())
        return &found->second;
    for (auto& [id, task] : tasks)
        if (std::u16string_view(task.info.taskName) == idOrName)
            return &task;
    return nullptr;
}

bool AreValid(const ScanSettings& settings) {
    if (settings.areas.empty() || settings.areas.size() > MaxAreas)
        return false;
    std::size_t total = 0;
    for (const std::string& area : settings.areas) {
        total += area.size();
        if (area.empty() || area.front() != '/' || area.size() > MaxAreaLength || area.find('\0') != std::string::npos)
            return false;
    }
    return total <= MaxAreasTotal;
}

TaskIdentity IdentityOf(const KeptStatistic& kept) {
    return {kept.statistic.taskId, kept.statistic.taskName, kept.statistic.taskType, kept.runId};
}

} // namespace

TaskIdentity IdentityOf(const core::TaskInfo& info, std::uint64_t runId) {
    return {info.taskId, info.taskName, info.taskType, runId};
}

TaskRegistry::TaskRegistry(Options options, IScanEngine& engine, store::IEventPublisher& publisher,
                           ulk::Ptr<ulk::ITracer> tracer)
    : m_options(std::move(options)), m_engine(engine), m_publisher(publisher), m_tracer(std::move(tracer)),
      m_rules(m_options.rules), m_statistics(m_options.maxKeptStatistics) {}

TaskRegistry::~TaskRegistry() { Shutdown(); }

void TaskRegistry::Load() {
    LoadedState loaded = LoadKeptState(m_options.stateFile);
    const ulk::LockGuard lock(m_mutex);
    if (!loaded.problem.empty()) {
        ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << loaded.problem;
        Event event;
        event.type = types::EventName::IntegrityCheckFailed;
        event.severity = types::EventSeverity::High;
        event.Add(types::AdditionalName::Path, m_options.stateFile);
        event.Add(types::AdditionalName::Information, loaded.problem);
        PostEvent(std::move(event));
    }
    for (const KeptStatistic& kept : m_statistics.Restore(std::move(loaded.state), std::time(nullptr)))
        PostEvent(MakeInterrupted(IdentityOf(kept), "The service ended during the scan"));
    AddFullScan();
    PostSave();
}

void TaskRegistry::AddFullScan() {
    Task task;
    task.info.taskId = FullScanId;
    task.info.taskName = task_name::FullScan;
    task.info.taskType = task_type::ODS;
    task.info.settings.Set(ScanSettings{m_options.fullScanAreas});
    task.info.cannotBeDeleted = true;
    if (const KeptStatistic* kept = m_statistics.Find(FullScanId)) {
        task.info.startTime = kept->statistic.startTime;
        task.info.stopTime = kept->statistic.finishTime;
        task.runId = kept->runId;
    }
    m_tasks.emplace(FullScanId, std::move(task));
}

void TaskRegistry::Shutdown() noexcept {
    ulk::LockGuard lock(m_mutex);
    m_shutDown = true;
    for (auto& [id, task] : m_tasks) {
        const auto next = StateAfter(task.info.state, TaskCommand::Stop);
        if (!next)
            continue;
        task.commander.reset();
        SetState(task, *next);
        Instruct(task, TaskCommand::Stop);
    }
    while (m_liveRuns > 0)
        m_allEnded.wait(lock);
    lock.unlock();
    m_events.Flush();
    m_housekeeper.Flush();
}

const TaskRegistry::Task* TaskRegistry::Find(std::u16string_view idOrName) const { return FindIn(m_tasks, idOrName); }

TaskRegistry::Task* TaskRegistry::Find(std::u16string_view idOrName) { return FindIn(m_tasks, idOrName); }

bool TaskRegistry::IsAllowed(const rpc::Caller& caller, const Task& task) const {
    if (caller.isAdministrator)
        return true;
    if (!(task.info.isCentralKit != 0 ? m_rules.allowUserManageGroupTasks : m_rules.allowUserManageLocalTasks))
        return false;
    return !task.info.isTemporary || (task.info.owner && task.info.owner->uid == caller.uid);
}

void TaskRegistry::SetUserRules(const UserRules& rules) {
    const ulk::LockGuard lock(m_mutex);
    m_rules = rules;
}

std::vector<core::TaskInfo> TaskRegistry::GetTaskList() const {
    const ulk::LockGuard lock(m_mutex);
    std::vector<core::TaskInfo> list;
    list.reserve(m_tasks.size());
    for (const auto& [id, task] : m_tasks)
        list.push_back(task.info);
    return list;
}

result_t TaskRegistry::GetTaskInfo(std::u16string_view idOrName, core::TaskInfo& info) const {
    const ulk::LockGuard lock(m_mutex);
    const Task* task = Find(idOrName);
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

result_t TaskRegistry::GetSchedule(std::u16string_view taskName, TaskSchedule& schedule) const {
    const ulk::LockGuard lock(m_mutex);
    if (Find(taskName) == nullptr)
        return ulk::eNotFound;
    schedule = TaskSchedule();
    return ulk::sOk;
}

std::int64_t TaskRegistry::LastFullScan() const {
    const ulk::LockGuard lock(m_mutex);
    return m_statistics.State().lastFullScan;
}

result_t TaskRegistry::MayCommand(const rpc::Caller& caller, std::u16string_view idOrName, bool& allowed) const {
    allowed = false;
    const ulk::LockGuard lock(m_mutex);
    const Task* task = Find(idOrName);
    if (task == nullptr)
        return ulk::eNotFound;
    allowed = IsAllowed(caller, *task);
    return ulk::sOk;
}

result_t TaskRegistry::Command(const rpc::Caller& caller, std::u16string_view idOrName, TaskCommand command) {
    const ulk::LockGuard lock(m_mutex);
    Task* task = Find(idOrName);
    if (task == nullptr)
        return ulk::eNotFound;
    if (!IsAllowed(caller, *task))
        return ulk::eAccessDenied;
    const auto next = StateAfter(task->info.state, command);
    if (!next || m_shutDown)
        return ulk::eInvalidState;
    if (command == TaskCommand::Start)
        return StartRun(*task, caller);
    task->commander = EventUser{caller.uid, m_names.Known(caller.uid)};
    SetState(*task, *next);
    Instruct(*task, command);
    return ulk::sOk;
}

ScanTaskRun::Description TaskRegistry::DescribeRun(const Task& task) const {
    ScanTaskRun::Description description;
    description.task = IdentityOf(task.info, task.runId);
    description.initiator = task.commander;
    description.options.areas = task.info.settings.Get<ScanSettings>()->areas;
    description.options.excludedPaths = m_options.exclusions;
    if (task.info.isTemporary) {
        // A folder that was named is scanned with whatever is mounted below it.
        description.options.crossFileSystems = true;
        description.areasOfUser = true;
        if (!task.ownerIsAdministrator)
            description.options.rightsOf = task.info.owner->uid;
    } else {
        description.withLocalMounts = true;
    }
    return description;
}

result_t TaskRegistry::StartRun(Task& task, const rpc::Caller& caller) {
    const Initiator before = std::exchange(task.commander, EventUser{caller.uid, m_names.Known(caller.uid)});
    const std::uint64_t runBefore = std::exchange(task.runId, m_statistics.TakeRunId());
    task.run = std::make_shared<ScanTaskRun>(DescribeRun(task), m_engine, *this, m_names);
    try {
        // Whatever the worker tells waits for the registry's lock.
        task.worker = std::thread([run = task.run] { run->Execute(); });
    } catch (const std::system_error&) { // no more threads
        task.commander = before;
        task.runId = runBefore;
        task.run.reset();
        return ulk::eInsufficientResources;
    }
    ++m_liveRuns;
    task.info.startTime = std::time(nullptr);
    task.info.stopTime = 0;
    m_statistics.Begin(task.info, task.runId, task.info.startTime);
    SetState(task, TaskState::Starting);
    PostSave();
    return ulk::sOk;
}

void TaskRegistry::Instruct(const Task& task, TaskCommand command) {
    m_conductor.Post([this, run = task.run, command, taskId = task.info.taskId] {
        switch (command) {
        case TaskCommand::Stop:
            run->Stop();
            break;
        case TaskCommand::Pause:
            run->Pause();
            OnRunSignal(taskId, RunSignal::Held);
            break;
        case TaskCommand::Resume:
            run->Resume();
            OnRunSignal(taskId, RunSignal::GoneOn);
            break;
        case TaskCommand::Start:
            break;
        }
    });
}

void TaskRegistry::SetState(Task& task, TaskState::Type state) {
    const TaskState::Type previous = std::exchange(task.info.state, state);
    PostEvent(MakeStateChanged(IdentityOf(task.info, task.runId), task.commander, state, previous));
}

void TaskRegistry::OnRunSignal(std::uint64_t taskId, RunSignal signal) {
    const ulk::LockGuard lock(m_mutex);
    const auto found = m_tasks.find(taskId);
    if (found == m_tasks.end())
        return;
    if (const auto next = StateAfter(found->second.info.state, signal))
        SetState(found->second, *next);
}

void TaskRegistry::OnRunBegun(const TaskIdentity& task) { OnRunSignal(task.taskId, RunSignal::Begun); }

void TaskRegistry::OnRunCounters(const TaskIdentity& task, const ScanStatistic& counters, std::uint64_t bytes) {
    const ulk::LockGuard lock(m_mutex);
    m_statistics.Update(task.taskId, counters, bytes);
}

void TaskRegistry::OnRunEnded(const TaskIdentity& identity, const RunOutcome& outcome) {
    const ulk::LockGuard lock(m_mutex);
    const auto found = m_tasks.find(identity.taskId);
    Task& task = found->second;
    task.info.stopTime = std::time(nullptr);
    m_statistics.Finish(identity.taskId, task.info.stopTime);
    if (identity.taskId == FullScanId && outcome.end == scan::ScanEnd::Completed)
        m_statistics.NoteFullScan(task.info.stopTime);
    if (outcome.end == scan::ScanEnd::Failed) {
        ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "Task " << identity.taskName << " failed: " << outcome.error;
        PostEvent(outcome.begun ? MakeInterrupted(identity, outcome.error)
                                : MakeTaskNotStarted(identity, task.commander,
                                                     types::TaskNotStartedReason::InternalError, outcome.error));
    }
    task.run.reset();
    JoinLater(std::move(task.worker));
    SetState(task, TaskState::Stopped);
    if (task.info.isTemporary)
        RemoveTask(found);
    PostSave();
    --m_liveRuns;
    m_allEnded.notify_all();
}

void TaskRegistry::RemoveTask(TaskMap::iterator task) {
    PostEvent(MakeTaskDeleted(IdentityOf(task->second.info, task->second.runId), task->second.commander));
    m_tasks.erase(task);
}

result_t TaskRegistry::DeleteTask(const rpc::Caller& caller, std::u16string_view idOrName) {
    const ulk::LockGuard lock(m_mutex);
    Task* task = Find(idOrName);
    if (task == nullptr)
        return ulk::eNotFound;
    if (!IsAllowed(caller, *task))
        return ulk::eAccessDenied;
    if (!task->info.isTemporary)
        return ulk::eNotSupported;
    if (task->info.state != TaskState::Stopped)
        return ulk::eInvalidState;
    task->commander = EventUser{caller.uid, m_names.Known(caller.uid)};
    RemoveTask(m_tasks.find(task->info.taskId));
    return ulk::sOk;
}

result_t TaskRegistry::DeleteStatistic(const rpc::Caller& caller, const OxsStatistic& statistic) {
    const ulk::LockGuard lock(m_mutex);
    const KeptStatistic* kept = m_statistics.Find(statistic.taskId);
    if (kept == nullptr || kept->statistic.taskName != statistic.taskName)
        return ulk::eNotFound;
    const bool isOwn = kept->statistic.isTemporary && kept->ownerUid == caller.uid;
    if (!caller.isAdministrator && !isOwn)
        return ulk::eAccessDenied;
    if (kept->statistic.finishTime == 0)
        return ulk::eInvalidState;
    m_statistics.Remove(statistic.taskId);
    PostSave();
    return ulk::sOk;
}

bool TaskRegistry::MakeRoomFor(std::uint32_t uid) {
    std::size_t own = 0;
    std::size_t all = 0;
    auto unused = m_tasks.end();
    for (auto at = m_tasks.begin(); at != m_tasks.end(); ++at) {
        const Task& task = at->second;
        if (!task.info.isTemporary)
            continue;
        ++all;
        if (task.info.owner->uid != uid)
            continue;
        ++own;
        if (unused == m_tasks.end() && task.info.state == TaskState::Stopped &&
            Clock::now() - task.made >= m_options.unusedLifetime)
            unused = at;
    }
    const std::size_t limit = m_rules.maxTemporaryOfUser;
    if (own < limit && all < std::max(m_options.maxTemporary, limit))
        return true;
    if (unused == m_tasks.end() || own > limit)
        return false;
    RemoveTask(unused);
    return true;
}

result_t TaskRegistry::CreateScanTask(const rpc::Caller& caller, const ScanSettings& settings, core::TaskInfo& info) {
    if (!AreValid(settings))
        return ulk::eInvalidArgument;
    const ulk::LockGuard lock(m_mutex);
    if (!caller.isAdministrator && !m_rules.allowUserManageLocalTasks)
        return ulk::eAccessDenied;
    if (m_shutDown)
        return ulk::eInvalidState;
    if (!MakeRoomFor(caller.uid))
        return ulk::eInsufficientResources;
    Task task;
    task.info.taskId = m_statistics.TakeTaskId();
    task.info.taskName = ulk::types::string16_t(task_name::CustomScan) + u"_" +
                         ulk::text::Cast<ulk::types::string16_t>(std::string_view(std::to_string(task.info.taskId)));
    task.info.taskType = task_type::ODS;
    task.info.settings.Set(settings);
    task.info.isTemporary = true;
    task.info.cannotBeDeleted = false;
    task.info.owner = TaskOwner{caller.uid, m_names.Known(caller.uid)};
    task.commander = EventUser{caller.uid, m_names.Known(caller.uid)};
    task.ownerIsAdministrator = caller.isAdministrator;
    info = task.info;
    const std::uint64_t taskId = info.taskId;
    m_events.Post([this, taskId, uid = caller.uid] {
        auto name = m_names.Resolve(uid);
        const ulk::LockGuard inner(m_mutex);
        if (const auto found = m_tasks.find(taskId); found != m_tasks.end())
            found->second.info.owner->userName = std::move(name);
    });
    PostEvent(MakeTaskCreated(IdentityOf(task.info, 0), task.commander));
    PostSave();
    m_tasks.emplace(taskId, std::move(task));
    return ulk::sOk;
}

void TaskRegistry::NameInitiator(Event& event) {
    if (event.initiatorUser && event.initiatorUser->userName.empty())
        event.initiatorUser->userName = m_names.Resolve(event.initiatorUser->uid);
}

void TaskRegistry::PostEvent(Event event) {
    m_events.Post([this, event = std::move(event)]() mutable {
        NameInitiator(event);
        m_publisher.Publish(std::move(event));
    });
}

void TaskRegistry::PublishFinding(Event event) {
    m_events.Flush();
    NameInitiator(event);
    m_publisher.Publish(std::move(event));
}

void TaskRegistry::PublishProgress(Event event) {
    m_events.Flush();
    m_publisher.PublishTransient(std::move(event));
}

void TaskRegistry::PostSave() {
    if (std::exchange(m_savePosted, true))
        return;
    m_housekeeper.Post([this] { Save(); });
}

void TaskRegistry::Save() {
    KeptState state;
    {
        const ulk::LockGuard lock(m_mutex);
        m_savePosted = false;
        state = m_statistics.State();
    }
    const result_t result = SaveKeptState(m_options.stateFile, state);
    if (ULK_SUCCEEDED(result))
        return;
    ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "Task state can't be written: " << ulk::ResultText(result);
}

void TaskRegistry::JoinLater(std::thread worker) {
    m_housekeeper.Post([worker = std::make_shared<std::thread>(std::move(worker))] { worker->join(); });
}

} // namespace tfs::service::tasks
