// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/app_info.h>
#include <foundation/check.h>
#include <gui/common/app_settings.h>
#include <gui/common/application.h>
#include <gui/common/localized_text.h>
#include <gui/task_manager/task_command.h>
#include <gui/task_manager/task_converter.h>
#include <gui/task_manager/tasklist_model.h>

namespace tfs::gui {
namespace {

namespace entry = tfs::localization::entry;

constexpr int UpdateIntervalMs = 1000;

ulk::ITracer* Tracer() noexcept { return application::GetTracer(); }

/// Null, with the reason traced, where there is no connection.
ulk::Ptr<ulk::IServiceLocator> TryAcquireRemote() noexcept {
    try {
        return application::AcquireRemoteServiceLocator();
    }
    GUI_CATCH_ALL
    return {};
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
        m_subscription.Close();
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
    m_scanTasksMode = scanTasksMode;
    Q_EMIT scanTasksModeChanged(scanTasksMode);
    SetTaskListInfo();
}

void TaskListModel::SetTaskListInfo() {
    std::optional<bool> isRollbackAvailable;
    beginResetModel();
    try {
        LoadRows(isRollbackAvailable);
    }
    GUI_CATCH_ALL
    endResetModel();
    // Told after the reset: whoever hears it may look at the rows.
    if (isRollbackAvailable)
        SetRollbackAvailable(*isRollbackAvailable);
}

void TaskListModel::LoadRows(std::optional<bool>& isRollbackAvailable) {
    // Without a connection the facade answers with the lists of its last success.
    const ulk::Ptr<ulk::IServiceLocator> remote = TryAcquireRemote();
    ulk::types::vector_t<TaskInfo> tasks;
    if (m_scanTasksMode)
        m_actions.GetScanTaskList(remote.Get(), tasks);
    else
        m_actions.GetUpdateTaskList(remote.Get(), tasks);
    isRollbackAvailable = ReadRollbackInfo(remote.Get());
    std::vector<OneTaskInfo> rows;
    rows.reserve(tasks.size());
    for (const TaskInfo& task : tasks)
        rows.push_back(TaskConverter::ToOneTaskInfo(remote.Get(), task, m_scanTasksMode));
    const ulk::LockGuard lock(m_rowMutex);
    m_rows = std::move(rows);
}

std::optional<bool> TaskListModel::ReadRollbackInfo(ulk::IServiceLocator* remoteSl) noexcept {
    try {
        ulk::Ptr<IAppInfoProvider> appInfoProvider;
        ULK_CHECK_THROW(ulk::GetInterface(remoteSl, appInfoProvider.Ref()), "Cannot get IAppInfoProvider");
        AppInfo appInfo;
        ULK_CHECK_THROW(appInfoProvider->GetAppInfo(appInfo), "Cannot get application info");
        return appInfo.isRollbackAvailable;
    }
    GUI_CATCH_ALL
    return std::nullopt;
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

void TaskListModel::RunCommand(Command command, const std::string& idOrName, const char* failure) noexcept {
    RunTaskCommand(failure, [&] {
        const auto remote = application::AcquireRemoteServiceLocator();
        return (m_actions.*command)(remote.Get(), idOrName);
    });
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
    RunTaskCommand("cannot remove task: ", [&] {
        const auto remote = application::AcquireRemoteServiceLocator();
        const result_t result = m_actions.DeleteTask(remote.Get(), RowOnGuiThread(row).source);
        if (ULK_SUCCEEDED(result))
            RemoveRow(row);
        return result;
    });
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

} // namespace tfs::gui
