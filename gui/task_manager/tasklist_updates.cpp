// SPDX-License-Identifier: GPL-2.0-or-later
// The timer's part of TaskListModel: from the queues into the rows.
#include <foundation/check.h>
#include <gui/common/application.h>
#include <gui/common/exception_text.h>
#include <gui/task_manager/task_converter.h>
#include <gui/task_manager/tasklist_model.h>

namespace tfs::gui {
namespace {

using tfs::types::TaskState;

ulk::ITracer* Tracer() noexcept { return application::GetTracer(); }

bool IsUnderWay(std::uint8_t state) { return state <= TaskState::Resuming; }

bool IsEnding(std::uint8_t state) { return state == TaskState::Stopping || state == TaskState::Stopped; }

/// Only an event tells of progress; until one does the bar stays where it was in this run.
void KeepProgress(const OneTaskInfo& before, OneTaskInfo& after) {
    if (after.isProgressKnown || after.currentState == TaskState::Starting)
        return;
    if ((IsUnderWay(before.currentState) && IsUnderWay(after.currentState)) ||
        (IsEnding(before.currentState) && IsEnding(after.currentState)))
        after.progressValue = before.progressValue;
}

/// A task of which the service knows nothing any more, as one that went without having run: deleting its row needs
/// nothing of the service.
TaskInfo WithoutRemote(TaskInfo task) {
    task.core.state = TaskState::Stopped;
    task.canBeStarted = false;
    task.canBeStopped = false;
    task.hasRemoteTask = false;
    task.hasRemoteStatistics = false;
    return task;
}

} // namespace

void TaskListModel::updateTaskListInfo() {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    try {
        AddToTaskList();
        ChangeExistingTaskInfo();
        DeleteFromTaskList();
        RefreshSummaries();
    }
    GUI_CATCH_ALL
}

void TaskListModel::AddToTaskList() {
    const auto ids = m_taskListToAdd.TakeAll();
    ULK_TRACE(Tracer(), ulk::level::Detail) << "taskListToAdd.size = " << ids.size();
    for (const std::uint64_t id : ids) {
        try {
            AddTask(id);
        }
        GUI_CATCH_ALL
    }
}

void TaskListModel::AddTask(std::uint64_t id) {
    // Made between the subscription and the first load, a task is told of twice.
    if (FindRowOnGuiThread(id) != -1)
        return;
    const auto remote = application::AcquireRemoteServiceLocator();
    TaskInfo task;
    ULK_CHECK_THROW(m_actions.GetTaskInfo(remote.Get(), TaskIdText(id), task),
                    "Cannot get info for task " + TaskIdText(id));
    // The mode may be another one by now than when the event came.
    if (!gui::IsTaskByType(TypesOfMode())(task))
        return;
    OneTaskInfo row = TaskConverter::ToOneTaskInfo(remote.Get(), task, m_scanTasksMode);
    const int end = rowCount();
    beginInsertRows(QModelIndex(), end, end);
    {
        const ulk::LockGuard lock(m_rowMutex);
        m_rows.push_back(std::move(row));
    }
    endInsertRows();
}

void TaskListModel::ChangeExistingTaskInfo() {
    std::vector<OneTaskInfo> changes = m_tasksToChange.TakeOldest();
    ULK_TRACE(Tracer(), ulk::level::Detail) << "tasksToChange.size = " << m_tasksToChange.Size();
    for (OneTaskInfo& change : changes) {
        const int row = FindRowOnGuiThread(change.taskId);
        if (row == -1) {
            ULK_TRACE(Tracer(), ulk::level::Failure) << "ChangeExistingTaskInfo"
                                                     << " cannot find task " << change.taskId;
            continue;
        }
        ReplaceRow(row, std::move(change));
    }
}

void TaskListModel::ReplaceRow(int row, OneTaskInfo info) {
    KeepProgress(RowOnGuiThread(row), info);
    {
        const ulk::LockGuard lock(m_rowMutex);
        m_rows[static_cast<std::size_t>(row)] = std::move(info);
    }
    Q_EMIT dataChanged(index(row), index(row));
}

void TaskListModel::RemoveRow(int row) {
    beginRemoveRows(QModelIndex(), row, row);
    {
        const ulk::LockGuard lock(m_rowMutex);
        m_rows.erase(m_rows.begin() + row);
    }
    endRemoveRows();
}

void TaskListModel::DeleteFromTaskList() {
    const auto ids = m_taskListToDelete.TakeAll();
    ULK_TRACE(Tracer(), ulk::level::Detail) << "taskListToDelete.size = " << ids.size();
    for (const std::uint64_t id : ids) {
        try {
            DeleteOrReload(id);
        }
        GUI_CATCH_ALL
    }
}

void TaskListModel::DeleteOrReload(std::uint64_t id) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << "Trying to process task " << id;
    const int row = FindRowOnGuiThread(id);
    if (row == -1) {
        ULK_TRACE(Tracer(), ulk::level::Failure) << "DeleteFromTaskList"
                                                 << " cannot find task " << id;
        return;
    }
    ULK_TRACE(Tracer(), ulk::level::Detail) << "Found " << id << ", row = " << row;
    if (!IsTemporaryScan(RowOnGuiThread(row).source.core)) {
        ULK_TRACE(Tracer(), ulk::level::Detail) << "Deleting task " << id << " from model";
        RemoveRow(row);
        return;
    }
    ULK_TRACE(Tracer(), ulk::level::Detail) << "Task is temporary, reload task " << id << " information";
    const auto remote = application::AcquireRemoteServiceLocator();
    TaskInfo task;
    const result_t result = m_actions.GetTaskInfo(remote.Get(), TaskIdText(id), task);
    if (result == ulk::eNotFound)
        task = WithoutRemote(RowOnGuiThread(row).source);
    else
        ULK_CHECK_THROW(result, "Cannot get info for task " + TaskIdText(id));
    OneTaskInfo info = TaskConverter::ToOneTaskInfo(remote.Get(), task, m_scanTasksMode);
    // What is still to come for the row was read while the task lived; the last word is that it has gone.
    if (m_tasksToChange.Has(id))
        m_tasksToChange.Push(info);
    ReplaceRow(row, std::move(info));
}

void TaskListModel::RefreshSummaries() {
    for (int row = 0; row < rowCount(); ++row) {
        const bool isChanged = [&]() ULK_NO_ANALYSIS {
            OneTaskInfo& info = m_rows[static_cast<std::size_t>(row)];
            QString summary = TaskConverter::Summary(info.source);
            if (summary == info.summary)
                return false;
            const ulk::LockGuard lock(m_rowMutex);
            info.summary = std::move(summary);
            return true;
        }();
        if (isChanged)
            Q_EMIT dataChanged(index(row), index(row), {SummaryRole});
    }
}

int TaskListModel::FindRow(std::uint64_t id) const {
    for (std::size_t row = 0; row < m_rows.size(); ++row) {
        if (m_rows[row].taskId == id)
            return static_cast<int>(row);
    }
    return -1;
}

} // namespace tfs::gui
