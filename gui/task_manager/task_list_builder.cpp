// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <foundation/datetime.h>
#include <gui/task_manager/task_list_builder.h>

#include <algorithm>
#include <ctime>
#include <unistd.h>

namespace tfs::gui {
namespace {

/// How long before its end a run without a task is said to have begun.
constexpr std::int64_t AssumedRunTicks = 2'592'000'000'000;

} // namespace

TaskListBuilder::TaskListBuilder(ulk::ITracer* tracer, ITfsTaskManager* taskManager, IPolicyProvider* policyProvider)
    : m_tracer(tracer), m_taskManager(taskManager), m_policyProvider(policyProvider) {
    bool local = false;
    bool group = false;
    if (m_policyProvider != nullptr && ULK_SUCCEEDED(m_policyProvider->IsUserManageTasksAllowed(local, group))) {
        m_allowUserManageLocalTasks = local;
        m_allowUserManageGroupTasks = group;
    }
    ULK_TRACE(m_tracer, ulk::level::Detail)
        << "Read from product: allowUserManageLocalTasks = " << m_allowUserManageLocalTasks
        << ", allowUserManageGroupTasks = " << m_allowUserManageGroupTasks;
}

void TaskListBuilder::Build(const ulk::types::vector_t<tfs::core::TaskInfo>& tasks,
                            const ulk::types::vector_t<OxsStatistic>& statistics, const MatchFunction& match,
                            ulk::types::vector_t<TaskInfo>& result) {
    std::map<ulk::types::string16_t, const OxsStatistic*> orphans;
    for (const OxsStatistic& record : statistics)
        orphans[record.taskName] = &record;
    result.reserve(tasks.size());
    for (const tfs::core::TaskInfo& task : tasks) {
        // Statistics that belong to a live task never become rows.
        orphans.erase(task.taskName);
        TaskInfo row;
        row.core = task;
        if (match(row))
            result.push_back(LiveTask(std::move(row)));
    }
    for (const auto& [name, record] : orphans) {
        if (TaskInfo row = TaskFromStatistics(*record); match(row))
            result.push_back(std::move(row));
    }
    std::sort(result.begin(), result.end(),
              [](const TaskInfo& a, const TaskInfo& b) { return a.core.taskId < b.core.taskId; });
    ULK_TRACE(m_tracer, ulk::level::Detail) << "Size of tasklist: " << result.size();
}

TaskInfo TaskListBuilder::LiveTask(TaskInfo task) {
    task.core.cannotBeDeleted = !task.core.isTemporary;
    ReadSchedule(task);
    DecidePermissions(task);
    task.hasRemoteTask = true;
    task.hasRemoteStatistics = false;
    return task;
}

void TaskListBuilder::ReadSchedule(TaskInfo& task) {
    TaskSchedule schedule;
    if (!ULK_SUCCEEDED(m_taskManager->GetSchedule(task.core.taskName, schedule))) {
        ULK_TRACE(m_tracer, ulk::level::Failure) << "Cannot get schedule for " << task.core.taskName;
        return;
    }
    task.scheduleMode = schedule.mode;
    task.scheduleText = schedule.text;
    task.scheduleFirstValue = schedule.firstValue;
    task.scheduleSecondValue = schedule.secondValue;
    task.scheduleFlag = schedule.flag;
}

void TaskListBuilder::DecidePermissions(TaskInfo& task) {
    const auto& name = task.core.taskName;
    if (ScanTaskTypes().count(task.core.taskType) != 0 || UpdateTaskTypes().count(task.core.taskType) != 0) {
        ULK_TRACE(m_tracer, ulk::level::Detail)
            << "Task " << name << " is update or scan task, isCentralKit = " << task.core.isCentralKit;
        const bool allowed = task.core.isCentralKit != 0 ? m_allowUserManageGroupTasks : m_allowUserManageLocalTasks;
        task.canBeStarted = allowed;
        task.canBeStopped = allowed;
    } else {
        ULK_TRACE(m_tracer, ulk::level::Detail) << "Task " << name << " is monitoring task";
        task.canBeStarted =
            ReadPolicy(name, "Cannot get policy (CanBeStarted) settings for ", &IPolicyProvider::CanBeStarted);
        task.canBeStopped =
            ReadPolicy(name, "Cannot get policy (CanBeStopped) settings for ", &IPolicyProvider::CanBeStopped);
    }
    // Another user's custom scan can be watched, not stopped.
    if (task.core.isTemporary && task.core.owner && task.core.owner->uid != ::getuid())
        task.canBeStopped = false;
    ULK_TRACE(m_tracer, ulk::level::Detail)
        << "Task " << name << ": canBeStarted = " << task.canBeStarted << ", canBeStopped = " << task.canBeStopped;
}

bool TaskListBuilder::ReadPolicy(const ulk::types::string16_t& taskName, const char* failure,
                                 result_t (IPolicyProvider::*read)(const ulk::types::string16_t&, bool&)) {
    bool allowed = false;
    if (ULK_SUCCEEDED((m_policyProvider->*read)(taskName, allowed)))
        return allowed;
    ULK_TRACE(m_tracer, ulk::level::Failure) << failure << taskName;
    return false;
}

TaskInfo TaskFromStatistics(const OxsStatistic& statistics) {
    TaskInfo task;
    task.core.taskId = statistics.taskId;
    task.core.taskName = statistics.taskName;
    task.core.taskType = statistics.taskType;
    task.core.isTemporary = statistics.isTemporary;
    task.core.state = tfs::types::TaskState::Stopped;
    task.core.cannotBeDeleted = false;
    task.core.stopTime = statistics.finishTime != 0 ? statistics.finishTime : std::time(nullptr);
    task.core.startTime = task.core.stopTime - AssumedRunTicks / ulk::datetime::kTicksPerSecond;
    task.hasRemoteStatistics = true;
    task.statistics = statistics;
    return task;
}

} // namespace tfs::gui
