// SPDX-License-Identifier: GPL-2.0-or-later
// What runs tell, and what is kept of it.
#include <service/tasks/fixed_tasks.h>
#include <service/tasks/task_registry.h>

#include <algorithm>
#include <ctime>
#include <utility>

namespace tfs::service::tasks {
namespace {

constexpr auto FullScanId = static_cast<std::uint64_t>(FixedTaskId::FullScan);
constexpr auto UpdateId = static_cast<std::uint64_t>(FixedTaskId::Update);
constexpr std::size_t MaxCheckpointSize = 64 * 1024;

} // namespace

void TaskRegistry::SetState(Task& task, TaskState::Type state) {
    const TaskState::Type previous = std::exchange(task.info.state, state);
    m_publisher.Post(MakeStateChanged(IdentityOf(task), task.commander, state, previous));
}

void TaskRegistry::OnRunSignal(std::uint64_t taskId, RunSignal signal) {
    const ulk::LockGuard lock(m_mutex);
    Task* task = m_tasks.Find(taskId);
    if (task == nullptr)
        return;
    // A run that goes on from a checkpoint begins like any other.
    if (signal == RunSignal::Begun && task->info.state == TaskState::Resuming)
        signal = RunSignal::GoneOn;
    const auto next = StateAfter(task->info.state, signal);
    if (!next)
        return;
    SetState(*task, *next);
    if (*next == TaskState::Suspended && task->unended) {
        task->unended->suspended = true;
        PostSave();
    }
}

void TaskRegistry::OnRunBegun(const TaskIdentity& task) { OnRunSignal(task.taskId, RunSignal::Begun); }

void TaskRegistry::OnRunWaits(const TaskIdentity& task) { OnRunSignal(task.taskId, RunSignal::Waits); }

void TaskRegistry::OnRunCounters(const TaskIdentity& task, const ScanStatistic& counters, std::uint64_t bytes) {
    const ulk::LockGuard lock(m_mutex);
    m_statistics.Update(task.taskId, counters, bytes);
}

void TaskRegistry::OnRunProgress(const TaskIdentity& identity, const RunProgress& progress) {
    const ulk::LockGuard lock(m_mutex);
    if (Task* task = m_tasks.Find(identity.taskId))
        task->progress = {std::min<std::uint32_t>(std::max(task->progress.percent, progress.percent), 100),
                          progress.secondsLeft};
}

void TaskRegistry::OnRunCheckpoint(const TaskIdentity& identity, const std::string& checkpoint,
                                   const ScanStatistic& counters, std::uint64_t bytes) {
    const ulk::LockGuard lock(m_mutex);
    Task* task = m_tasks.Find(identity.taskId);
    if (task == nullptr || !task->unended || checkpoint.size() > MaxCheckpointSize)
        return;
    task->unended->checkpoint = checkpoint;
    task->unended->percent = task->progress.percent;
    task->unended->counters = counters;
    task->unended->bytes = bytes;
    const auto now = std::chrono::steady_clock::now();
    const bool isLast = task->info.state != TaskState::Started;
    if (!isLast && now - m_checkpointSaved < m_options.checkpointInterval)
        return; // another one comes, or the run ends
    m_checkpointSaved = now;
    PostSave();
}

void TaskRegistry::OnRunEnded(const TaskIdentity& identity, const RunOutcome& outcome) {
    const ulk::LockGuard lock(m_mutex);
    Task& task = *m_tasks.Find(identity.taskId);
    if (outcome.end == RunEnd::Failed)
        TellFailure(task, outcome);
    task.run.reset();
    JoinLater(std::move(task.worker));
    if (StaysForLater(task, outcome)) {
        if (task.info.state != TaskState::Suspended)
            SetState(task, TaskState::Suspended);
    } else {
        if (outcome.end == RunEnd::Completed)
            task.progress.percent = 100;
        if (outcome.begun && outcome.end != RunEnd::Failed && identity.taskId == FullScanId)
            m_statistics.NoteFullScan(std::time(nullptr));
        if (outcome.end == RunEnd::Completed && identity.taskId == UpdateId)
            m_statistics.NoteUpdate(std::time(nullptr));
        FinishRun(task);
    }
    PostSave();
    --m_liveRuns;
    m_allEnded.notify_all();
}

void TaskRegistry::TellFailure(const Task& task, const RunOutcome& outcome) {
    ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "Task " << task.info.taskName << " failed: " << outcome.error;
    if (outcome.begun && TraitsOf(task.info.taskType).changesSignatures)
        return; // the run has told it in words of its own
    const bool isInterrupted = outcome.begun && !TraitsOf(task.info.taskType).isLasting;
    m_publisher.Post(isInterrupted
                         ? MakeInterrupted(IdentityOf(task), outcome.error)
                         : MakeTaskNotStarted(IdentityOf(task), task.commander, outcome.reason, outcome.error));
}

/// Of a run that ends with the service, and of one that couldn't go on from its checkpoint, nothing is lost.
bool TaskRegistry::StaysForLater(Task& task, const RunOutcome& outcome) {
    if (!task.unended)
        return false;
    const bool canGoOn = !task.unended->checkpoint.empty();
    if (outcome.end == RunEnd::Stopped && task.endsWithService)
        return canGoOn || task.unended->suspended;
    if (outcome.end != RunEnd::Failed || outcome.begun || !canGoOn || task.info.state == TaskState::Stopping)
        return false;
    task.unended->suspended = true;
    return true;
}

void TaskRegistry::FinishRun(Task& task) {
    task.unended.reset();
    task.info.stopTime = std::time(nullptr);
    m_statistics.Finish(task.info.taskId, task.info.stopTime);
    SetState(task, TaskState::Stopped);
    if (task.info.isTemporary)
        RemoveTask(task);
    PostSave();
}

void TaskRegistry::RemoveTask(const Task& task) {
    m_publisher.Post(MakeTaskDeleted(IdentityOf(task), task.commander));
    m_tasks.Remove(task.info.taskId);
}

void TaskRegistry::PublishFinding(Event event) { m_publisher.Publish(std::move(event)); }

void TaskRegistry::PublishProgress(Event event) { m_publisher.PublishTransient(std::move(event)); }

void TaskRegistry::PostSave() {
    if (std::exchange(m_savePosted, true))
        return;
    m_housekeeper.Post([this] { Save(); });
}

KeptState TaskRegistry::StateToKeep() const {
    KeptState state = m_statistics.State();
    for (const auto& [id, task] : m_tasks)
        if (!task.info.isTemporary || task.unended) // one that hasn't run is made again as easily
            state.tasks.push_back(KeptFormOf(task));
    state.tasks.insert(state.tasks.end(), m_unlisted.begin(), m_unlisted.end());
    return state;
}

void TaskRegistry::Save() {
    KeptState state;
    {
        const ulk::LockGuard lock(m_mutex);
        m_savePosted = false;
        state = StateToKeep();
    }
    const result_t result = SaveKeptState(m_options.stateFile, state);
    {
        const ulk::LockGuard lock(m_mutex);
        m_saveResult = result;
    }
    if (ULK_SUCCEEDED(result))
        return;
    ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "Task state can't be written: " << ulk::ResultText(result);
}

result_t TaskRegistry::SaveNow() {
    {
        const ulk::LockGuard lock(m_mutex);
        PostSave();
    }
    m_housekeeper.Flush();
    const ulk::LockGuard lock(m_mutex);
    return m_saveResult;
}

void TaskRegistry::JoinLater(std::thread worker) {
    m_housekeeper.Post([worker = std::make_shared<std::thread>(std::move(worker))] { worker->join(); });
}

} // namespace tfs::service::tasks
