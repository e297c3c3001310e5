// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/app_info.h>
#include <foundation/check.h>
#include <gui/common/app_settings.h>
#include <gui/common/application.h>
#include <gui/common/localized_text.h>
#include <gui/task_manager/task_converter.h>
#include <gui/task_manager/tasklist_model.h>

namespace tfs::gui {
namespace {

namespace entry = tfs::localization::entry;
using tfs::types::TaskState;

constexpr int UpdateIntervalMs = 1000;

ulk::ITracer* Tracer() noexcept { return application::GetTracer(); }

bool IsUnderWay(std::uint8_t state) {
    return state == TaskState::Starting || state == TaskState::Started || state == TaskState::Pausing ||
           state == TaskState::Suspended || state == TaskState::Resuming;
}

/// A change of state says nothing of the progress: the bar stays where it was until an event moves it.
void KeepProgress(const OneTaskInfo& before, OneTaskInfo& after) {
    const bool isNewRun = after.currentState == TaskState::Starting;
    if (!after.isProgressKnown && !isNewRun && IsUnderWay(before.currentState) && IsUnderWay(after.currentState))
        after.progressValue = before.progressValue;
}

} // namespace

TaskListModel::TaskListModel(QObject* parent)
    : QAbstractListModel(parent), m_pageHeader(LocalizedText(entry::GuiCommonTaskListPageHeader)),
      m_runTaskButtonName(LocalizedText(entry::GuiTaskListStartTask)),
      m_stopTaskButtonName(LocalizedText(entry::GuiTaskListStopTask)),
      m_goToReportsButtonName(LocalizedText(entry::GuiTaskGoToReportTask)),
      m_runRollbackText(LocalizedText(entry::GuiTaskListRunRollback)) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    try {
        Subscribe();
    }
    GUI_CATCH_ALL
    try {
        m_reportsAllowed = app_settings::IsReportsAllowedForCurrentUser();
    }
    GUI_CATCH_ALL
    connect(&m_timer, &QTimer::timeout, this, &TaskListModel::updateTaskListInfo);
    m_timer.start(UpdateIntervalMs);
}

TaskListModel::~TaskListModel() {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    try {
        Unsubscribe();
    }
    GUI_CATCH_ALL
    try {
        DeleteTemporaryTasksInfo();
    }
    GUI_CATCH_ALL
}

QHash<int, QByteArray> TaskListModel::roleNames() const {
    return {
        {TaskNameRole, "taskName"},
        {TaskIdRole, "taskId"},
        {CannotBeDeletedRole, "cannotBeDeleted"},
        {CanBeStartedRole, "canBeStarted"},
        {CanBeStoppedRole, "canBeStopped"},
        {ShowFullInfoRole, "showFullInfo"},
        {ShowStartButtonRole, "showStartButton"},
        {ShowStopButtonRole, "showStopButton"},
        {CurrentStateRole, "currentState"},
        {TaskReportTypeRole, "taskReportType"},
        {ProgressValueRole, "progressValue"},
        {ProgressInfoRole, "progressInfo"},
        {ScheduleInfoRole, "scheduleInfo"},
        {SummaryRole, "summary"},
        {ResultInfoRole, "resultInfo"},
        {ResultIsErrorRole, "resultIsError"},
    };
}

int TaskListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant TaskListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const OneTaskInfo& row = m_rows[static_cast<std::size_t>(index.row())];
    switch (role) {
    case TaskNameRole:
        return row.taskName;
    case TaskIdRole:
        return static_cast<qulonglong>(row.taskId);
    case CannotBeDeletedRole:
        return row.cannotBeDeleted;
    case CanBeStartedRole:
        return row.canBeStarted;
    case CanBeStoppedRole:
        return row.canBeStopped;
    case ShowFullInfoRole:
        return row.showFullInfo;
    case ShowStartButtonRole:
        return row.showStartButton;
    case ShowStopButtonRole:
        return row.showStopButton;
    case CurrentStateRole:
        return static_cast<int>(row.currentState);
    case TaskReportTypeRole:
        return static_cast<int>(row.taskReportType);
    case ProgressValueRole:
        return static_cast<int>(row.progressValue);
    case ProgressInfoRole:
        return row.progressInfo;
    case ScheduleInfoRole:
        return row.scheduleInfo;
    case SummaryRole:
        return row.summary;
    case ResultInfoRole:
        return row.resultInfo;
    case ResultIsErrorRole:
        return row.resultIsError;
    default:
        return {};
    }
}

void TaskListModel::setScanTasksMode(bool scanTasksMode) {
    if (m_scanTasksMode != scanTasksMode) {
        m_scanTasksMode = scanTasksMode;
        Q_EMIT scanTasksModeChanged(scanTasksMode);
    }
    SetTaskListInfo();
}

void TaskListModel::SetTaskListInfo() {
    beginResetModel();
    try {
        const auto remote = application::AcquireRemoteServiceLocator();
        LoadRows(remote.Get());
        UpdateRollbackInfo(remote.Get());
    }
    GUI_CATCH_ALL
    endResetModel();
}

void TaskListModel::LoadRows(ulk::IServiceLocator* remoteSl) {
    ulk::types::vector_t<TaskInfo> tasks;
    if (m_scanTasksMode)
        m_actions.GetScanTaskList(remoteSl, tasks);
    else
        m_actions.GetUpdateTaskList(remoteSl, tasks);
    std::vector<OneTaskInfo> rows;
    rows.reserve(tasks.size());
    for (const TaskInfo& task : tasks)
        rows.push_back(TaskConverter::ToOneTaskInfo(remoteSl, task, m_scanTasksMode));
    const ulk::LockGuard lock(m_rowMutex);
    m_rows = std::move(rows);
}

void TaskListModel::UpdateRollbackInfo(ulk::IServiceLocator* remoteSl) {
    ulk::Ptr<IAppInfoProvider> appInfoProvider;
    ULK_CHECK_THROW(ulk::GetInterface(remoteSl, appInfoProvider.Ref()), "Cannot get IAppInfoProvider");
    AppInfo appInfo;
    ULK_CHECK_THROW(appInfoProvider->GetAppInfo(appInfo), "Cannot get application info");
    SetRollbackAvailable(appInfo.isRollbackAvailable);
}

void TaskListModel::DeleteTemporaryTasksInfo() {
    ULK_TRACE(Tracer(), ulk::level::Detail) << "Delete all temporary tasks info";
    const auto remote = application::AcquireRemoteServiceLocator();
    ulk::types::vector_t<TaskInfo> tasks;
    ULK_CHECK_THROW(m_actions.GetScanTaskList(remote.Get(), tasks), "Cannot get scan task list");
    for (const TaskInfo& task : tasks) {
        if (task.hasRemoteTask)
            continue;
        ULK_TRACE(Tracer(), ulk::level::Detail)
            << "Delete task " << task.core.taskName << " (" << task.core.taskId << ") due to no remote task is left";
        (void)ULK_CHECK_TRACE(Tracer(), m_actions.DeleteTask(remote.Get(), task),
                              "Cannot delete task statistics of task " + ulk::text::ToUtf8Lossy(task.core.taskName));
    }
}

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
    KeepProgress(m_rows[static_cast<std::size_t>(row)], info);
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
    const bool staysOnShow = [&]() ULK_NO_ANALYSIS {
        return IsTemporaryScan(m_rows[static_cast<std::size_t>(row)].source.core);
    }();
    if (!staysOnShow) {
        ULK_TRACE(Tracer(), ulk::level::Detail) << "Deleting task " << id << " from model";
        RemoveRow(row);
        return;
    }
    ULK_TRACE(Tracer(), ulk::level::Detail) << "Task is temporary, reload task " << id << " information";
    const auto remote = application::AcquireRemoteServiceLocator();
    TaskInfo task;
    ULK_CHECK_THROW(m_actions.GetTaskInfo(remote.Get(), TaskIdText(id), task),
                    "Cannot get info for task " + TaskIdText(id));
    ReplaceRow(row, TaskConverter::ToOneTaskInfo(remote.Get(), task, m_scanTasksMode));
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

void TaskListModel::RunCommand(Command command, const std::string& idOrName, const char* failure) noexcept {
    try {
        const auto remote = application::AcquireRemoteServiceLocator();
        ULK_CHECK_THROW((m_actions.*command)(remote.Get(), idOrName), "");
    } catch (const std::exception& e) {
        ULK_TRACE(Tracer(), ulk::level::Failure) << failure << ExceptionText(e);
    }
    GUI_CATCH_ALL
}

void TaskListModel::startTask(qulonglong id) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    RunCommand(&OnDemandTaskListActions::StartTask, TaskIdText(id), "cannot start task: ");
}

void TaskListModel::stopTask(qulonglong id) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    RunCommand(&OnDemandTaskListActions::StopTask, TaskIdText(id), "cannot stop task: ");
}

void TaskListModel::pauseTask(qulonglong id) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    RunCommand(&OnDemandTaskListActions::PauseTask, TaskIdText(id), "cannot pause task: ");
}

void TaskListModel::resumeTask(qulonglong id) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    RunCommand(&OnDemandTaskListActions::ResumeTask, TaskIdText(id), "cannot resume task: ");
}

void TaskListModel::rollbackUpdate() {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    RunCommand(&OnDemandTaskListActions::StartTask, TaskIdText(FixedTaskId::Rollback), "cannot start rollback task: ");
}

void TaskListModel::deleteTask(qulonglong id) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    const int row = FindRowOnGuiThread(id);
    if (row == -1)
        return;
    ULK_TRACE(Tracer(), ulk::level::Detail) << "Task " << id << " found, deleting.";
    try {
        const auto remote = application::AcquireRemoteServiceLocator();
        const TaskInfo source = [&]() ULK_NO_ANALYSIS { return m_rows[static_cast<std::size_t>(row)].source; }();
        ULK_CHECK_THROW(m_actions.DeleteTask(remote.Get(), source), "");
        RemoveRow(row);
    } catch (const std::exception& e) {
        ULK_TRACE(Tracer(), ulk::level::Failure) << "cannot remove task: " << ExceptionText(e);
    }
    GUI_CATCH_ALL
}

void TaskListModel::SetReportsAllowed(bool allowed) {
    if (m_reportsAllowed == allowed)
        return;
    m_reportsAllowed = allowed;
    Q_EMIT reportsAllowedChanged(allowed);
}

void TaskListModel::SetRollbackAvailable(bool available) {
    if (m_isRollbackAvailable == available)
        return;
    m_isRollbackAvailable = available;
    Q_EMIT isRollbackAvailableChanged(available);
}

int TaskListModel::FindRow(std::uint64_t id) const {
    for (std::size_t row = 0; row < m_rows.size(); ++row) {
        if (m_rows[row].taskId == id)
            return static_cast<int>(row);
    }
    return -1;
}

} // namespace tfs::gui
