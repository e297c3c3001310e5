// SPDX-License-Identifier: GPL-2.0-or-later
// What users command.
#include <service/tasks/fixed_tasks.h>
#include <service/tasks/task_registry.h>
#include <tfs_common/settings_tools.h>

#include <algorithm>
#include <ctime>
#include <utility>

namespace tfs::service::tasks {

Initiator TaskRegistry::InitiatorOf(const rpc::Caller& caller) {
    return Initiator::OfUser(EventUser{caller.uid, m_publisher.Names().Known(caller.uid)});
}

result_t TaskRegistry::MayCommand(const rpc::Caller& caller, std::u16string_view idOrName, TaskCommand command,
                                  bool& allowed) const {
    allowed = false;
    const ulk::LockGuard lock(m_mutex);
    const Task* task = m_tasks.Find(idOrName);
    if (task == nullptr)
        return ulk::eNotFound;
    const bool canBe = command != TaskCommand::Start || task->factory->IsAvailable();
    allowed = canBe && MayCommandTask(caller, task->info, m_rules);
    return ulk::sOk;
}

/// Two tasks that change the signatures would work on the same files.
bool TaskRegistry::CanStartNow(const Task& task) const {
    if (m_shutDown || task.info.state != TaskState::Stopped || !task.factory->IsAvailable())
        return false;
    return !TraitsOf(task.info.taskType).changesSignatures ||
           std::none_of(m_tasks.begin(), m_tasks.end(), [](const auto& entry) {
               const core::TaskInfo& other = entry.second.info;
               return other.state != TaskState::Stopped && TraitsOf(other.taskType).changesSignatures;
           });
}

result_t TaskRegistry::Command(const rpc::Caller& caller, std::u16string_view idOrName, TaskCommand command) {
    const ulk::LockGuard lock(m_mutex);
    Task* task = m_tasks.Find(idOrName);
    if (task == nullptr)
        return ulk::eNotFound;
    if (!MayCommandTask(caller, task->info, m_rules))
        return ulk::eAccessDenied;
    const bool isPausing = command == TaskCommand::Pause || command == TaskCommand::Resume;
    if (isPausing && !TraitsOf(task->info.taskType).canPause)
        return ulk::eNotSupported;
    const auto next = StateAfter(task->info.state, command);
    if (!next || m_shutDown || (command == TaskCommand::Start && !CanStartNow(*task)))
        return ulk::eInvalidState;
    task->stoppedByUser = command == TaskCommand::Stop && TraitsOf(task->info.taskType).isLasting;
    const bool isHeldByNoRun = task->info.state == TaskState::Suspended && !task->run;
    if (command == TaskCommand::Start || (command == TaskCommand::Resume && isHeldByNoRun))
        return StartRun(*task, InitiatorOf(caller));
    task->commander = InitiatorOf(caller);
    SetState(*task, *next);
    if (task->stoppedByUser)
        PostSave();
    if (isHeldByNoRun) {
        FinishRun(*task);
        return ulk::sOk;
    }
    if (command == TaskCommand::Resume)
        task->unended->suspended = false;
    Instruct(*task, command);
    return ulk::sOk;
}

void TaskRegistry::StartLasting() {
    const ulk::LockGuard lock(m_mutex);
    for (auto& [id, task] : m_tasks)
        if (TraitsOf(task.info.taskType).isLasting && !task.stoppedByUser && CanStartNow(task))
            if (const result_t result = StartRun(task, Initiator()); !ULK_SUCCEEDED(result)) {
                ULK_TRACE(m_tracer.Get(), ulk::level::Failure)
                    << "Task " << task.info.taskName << " can't be started: " << ulk::ResultText(result);
            }
}

RunOrder TaskRegistry::OrderFor(const Task& task) const {
    RunOrder order;
    order.task = IdentityOf(task);
    order.initiator = task.commander;
    order.settings = task.info.settings;
    order.isTemporary = task.info.isTemporary;
    if (task.info.isTemporary && !task.ownerIsAdministrator)
        order.rightsOf = task.info.owner->uid;
    if (!task.unended)
        return order;
    order.checkpoint = task.unended->checkpoint;
    order.counters = task.unended->counters;
    order.bytes = task.unended->bytes;
    order.percent = task.unended->percent;
    return order;
}

result_t TaskRegistry::StartRun(Task& task, Initiator initiator) {
    const bool goesOn = task.unended.has_value();
    const Initiator before = std::exchange(task.commander, std::move(initiator));
    const std::uint64_t runBefore = task.runId;
    if (!goesOn)
        task.runId = m_statistics.TakeRunId();
    task.run = task.factory->MakeRun(OrderFor(task), *this);
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
    if (goesOn) {
        task.unended->suspended = false;
    } else {
        task.unended.emplace();
        task.progress = TaskProgress();
        task.info.startTime = std::time(nullptr);
        task.info.stopTime = 0;
        m_statistics.Begin(task.info, task.runId, task.info.startTime);
    }
    SetState(task, goesOn ? TaskState::Resuming : TaskState::Starting);
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

result_t TaskRegistry::DeleteTask(const rpc::Caller& caller, std::u16string_view idOrName) {
    const ulk::LockGuard lock(m_mutex);
    Task* task = m_tasks.Find(idOrName);
    if (task == nullptr)
        return ulk::eNotFound;
    if (!MayCommandTask(caller, task->info, m_rules))
        return ulk::eAccessDenied;
    if (!task->info.isTemporary)
        return ulk::eNotSupported;
    if (task->info.state != TaskState::Stopped)
        return ulk::eInvalidState;
    task->commander = InitiatorOf(caller);
    RemoveTask(*task);
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

result_t TaskRegistry::CreateScanTask(const rpc::Caller& caller, const ScanSettings& settings, core::TaskInfo& info) {
    ulk::types::any_struct_t holder;
    holder.Set(settings);
    if (!FaultsOf(holder, task_type::ODS).empty())
        return ulk::eInvalidArgument;
    const ulk::LockGuard lock(m_mutex);
    if (!caller.isAdministrator && !m_rules.allowUserManageLocalTasks)
        return ulk::eAccessDenied;
    if (FactoryOf(task_type::ODS) == nullptr)
        return ulk::eNotSupported;
    if (m_shutDown)
        return ulk::eInvalidState;
    std::uint64_t toRemove = 0;
    const TaskTable::Limits limits{m_rules.maxTemporaryOfUser, m_options.maxTemporary, m_options.unusedLifetime};
    if (!m_tasks.HasRoomFor(caller.uid, limits, toRemove))
        return ulk::eInsufficientResources;
    if (const Task* unused = m_tasks.Find(toRemove))
        RemoveTask(*unused);
    const std::uint64_t taskId = m_statistics.TakeTaskId();
    Task task = MakeTask(taskId,
                         std::u16string(task_name::CustomScan) + u"_" +
                             std::u16string(ulk::text::ToUtf16Lossy(std::to_string(taskId))),
                         task_type::ODS);
    task.info.settings = std::move(holder);
    task.settingsText = tools::ListSettings(nullptr, task.info.settings);
    task.hasOwnSettings = true;
    task.info.isTemporary = true;
    task.info.cannotBeDeleted = false;
    task.info.owner = TaskOwner{caller.uid, m_publisher.Names().Known(caller.uid)};
    task.commander = InitiatorOf(caller);
    task.ownerIsAdministrator = caller.isAdministrator;
    info = task.info;
    ResolveOwner(taskId, caller.uid);
    m_publisher.Post(MakeTaskCreated(IdentityOf(task), task.commander));
    PostSave();
    m_tasks.Add(std::move(task));
    return ulk::sOk;
}

} // namespace tfs::service::tasks
