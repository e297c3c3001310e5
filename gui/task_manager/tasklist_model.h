// SPDX-License-Identifier: GPL-2.0-or-later
// The list behind the pages Scan and Update.
#pragma once

#include <foundation/sync.h>
#include <gui/common/event_handlers.h>
#include <gui/common/model_subscription.h>
#include <gui/task_manager/one_task_info.h>
#include <gui/task_manager/task_change_queue.h>
#include <gui/task_manager/task_id_queue.h>
#include <gui/task_manager/tasklist_actions.h>

#include <QtCore/QAbstractListModel>
#include <QtCore/QTimer>
#include <atomic>
#include <optional>
#include <vector>

namespace tfs::gui {

/// Made by a page and gone with it; all but the event handlers run on the GUI thread. Events never touch a row: they
/// fill queues, which a timer empties once a second. A slot never throws; a failed command changes nothing on show.
class TaskListModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(bool scanTasksMode READ scanTasksMode WRITE setScanTasksMode NOTIFY scanTasksModeChanged)
    Q_PROPERTY(QString pageHeader READ pageHeader NOTIFY pageHeaderChanged)
    Q_PROPERTY(QString runTaskButtonName READ runTaskButtonName NOTIFY runTaskButtonNameChanged)
    Q_PROPERTY(QString stopTaskButtonName READ stopTaskButtonName NOTIFY stopTaskButtonNameChanged)
    Q_PROPERTY(QString goToReportsButtonName READ goToReportsButtonName NOTIFY goToReportsButtonNameChanged)
    Q_PROPERTY(qulonglong defaultUpdateTaskId READ defaultUpdateTaskId NOTIFY defaultUpdateTaskIdChanged)
    Q_PROPERTY(QString runRollbackText READ runRollbackText NOTIFY runRollbackTextChanged)
    Q_PROPERTY(bool reportsAllowed READ reportsAllowed NOTIFY reportsAllowedChanged)
    Q_PROPERTY(bool isRollbackAvailable READ isRollbackAvailable NOTIFY isRollbackAvailableChanged)

public:
    /// Equal to the service's states.
    enum TaskStates {
        TaskStateStarting = 0,
        TaskStateStarted = 1,
        TaskStatePausing = 2,
        TaskStateSuspended = 3,
        TaskStateResuming = 4,
        TaskStateStopping = 5,
        TaskStateStopped = 6,
        TaskStateUnknown = 7,
    };
    Q_ENUM(TaskStates)

    enum TaskInfoRoles {
        TaskNameRole = 257,
        TaskIdRole = 258,
        CannotBeDeletedRole = 259,
        CanBeStartedRole = 260,
        CanBeStoppedRole = 261,
        ShowFullInfoRole = 262,
        ShowStartButtonRole = 263,
        ShowStopButtonRole = 264,
        CurrentStateRole = 265,
        TaskReportTypeRole = 266,
        ProgressValueRole = 267,
        ProgressInfoRole = 268,
        ScheduleInfoRole = 269,
        SummaryRole = 270,
        ResultInfoRole = 271,
        ResultIsErrorRole = 272,
    };

    /// Subscribes and starts the timer; the list stays empty until the mode is set.
    explicit TaskListModel(QObject* parent = nullptr);
    ~TaskListModel() override;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override ULK_NO_ANALYSIS;
    QVariant data(const QModelIndex& index, int role) const override ULK_NO_ANALYSIS;
    QHash<int, QByteArray> roleNames() const override;

    bool scanTasksMode() const { return m_scanTasksMode; }
    /// Loads the list afresh, also where the mode stays the same.
    void setScanTasksMode(bool scanTasksMode);
    QString pageHeader() const { return m_pageHeader; }
    QString runTaskButtonName() const { return m_runTaskButtonName; }
    QString stopTaskButtonName() const { return m_stopTaskButtonName; }
    QString goToReportsButtonName() const { return m_goToReportsButtonName; }
    qulonglong defaultUpdateTaskId() const { return static_cast<qulonglong>(FixedTaskId::Update); }
    QString runRollbackText() const { return m_runRollbackText; }
    bool reportsAllowed() const { return m_reportsAllowed; }
    bool isRollbackAvailable() const { return m_isRollbackAvailable; }

    Q_SIGNAL void scanTasksModeChanged(bool scanTasksMode);
    Q_SIGNAL void pageHeaderChanged(const QString& pageHeader);
    Q_SIGNAL void runTaskButtonNameChanged(const QString& runTaskButtonName);
    Q_SIGNAL void stopTaskButtonNameChanged(const QString& stopTaskButtonName);
    Q_SIGNAL void goToReportsButtonNameChanged(const QString& goToReportsButtonName);
    Q_SIGNAL void defaultUpdateTaskIdChanged(qulonglong defaultUpdateTaskId);
    Q_SIGNAL void runRollbackTextChanged(const QString& runRollbackText);
    Q_SIGNAL void reportsAllowedChanged(bool reportsAllowed);
    Q_SIGNAL void isRollbackAvailableChanged(bool isRollbackAvailable);

public Q_SLOTS:
    void startTask(qulonglong id);
    void stopTask(qulonglong id);
    void pauseTask(qulonglong id);
    void resumeTask(qulonglong id);
    /// Removes the row at once where the service agrees.
    void deleteTask(qulonglong id);
    void rollbackUpdate();
    /// The timer's tick: rows to add, to change and to delete, in this order, then the ages in the summaries.
    void updateTaskListInfo();

private:
    using Command = result_t (OnDemandTaskListActions::*)(ulk::IServiceLocator*, const std::string&);

    void Subscribe();
    result_t OnEvent(const Event& event);
    static const EventHandlers<TaskListModel>& Handlers();

    // On the subscription's thread.
    result_t OnTaskCreated(const Event& event);
    result_t OnTaskDeleted(const Event& event);
    result_t OnTaskStateChanged(const Event& event);
    result_t OnTaskProgressChanged(const Event& event);
    result_t OnAppSettingsChanged(const Event& event);
    bool IsTaskByType(const Event& event) const;
    const TaskTypeSet& TypesOfMode() const { return m_scanTasksMode ? ScanTaskTypes() : UpdateTaskTypes(); }
    bool FetchRow(std::uint64_t id, OneTaskInfo& row, const tfs::types::TaskState::Type* state);

    // On the GUI thread.
    void SetTaskListInfo();
    void LoadRows(std::optional<bool>& isRollbackAvailable);
    static std::optional<bool> ReadRollbackInfo(ulk::IServiceLocator* remoteSl) noexcept;
    void DeleteTemporaryTasksInfo();
    void AddToTaskList();
    void AddTask(std::uint64_t id);
    void ChangeExistingTaskInfo();
    void DeleteFromTaskList();
    void DeleteOrReload(std::uint64_t id);
    void RefreshSummaries();
    void RunCommand(Command command, const std::string& idOrName, const char* failure) noexcept;
    void ReplaceRow(int row, OneTaskInfo info);
    void RemoveRow(int row);
    void SetReportsAllowed(bool allowed);
    void SetRollbackAvailable(bool available);
    /// -1 where there is none.
    int FindRow(std::uint64_t id) const ULK_REQUIRES(m_rowMutex);
    int FindRowOnGuiThread(std::uint64_t id) const ULK_NO_ANALYSIS { return FindRow(id); }
    const OneTaskInfo& RowOnGuiThread(int row) const ULK_NO_ANALYSIS { return m_rows[static_cast<std::size_t>(row)]; }

    QString m_pageHeader;
    QString m_runTaskButtonName;
    QString m_stopTaskButtonName;
    QString m_goToReportsButtonName;
    QString m_runRollbackText;
    bool m_reportsAllowed = false;
    bool m_isRollbackAvailable = false;
    /// Written on the GUI thread, read on the subscription's.
    std::atomic<bool> m_scanTasksMode{false};

    OnDemandTaskListActions m_actions;
    /// Rows change on the GUI thread alone, under this lock, so that thread reads them without it: painting must not
    /// wait for a call that a handler makes while it holds the lock.
    mutable ulk::Mutex m_rowMutex;
    std::vector<OneTaskInfo> m_rows ULK_GUARDED_BY(m_rowMutex);
    TaskIdQueue m_taskListToAdd;
    TaskChangeQueue m_tasksToChange;
    TaskIdQueue m_taskListToDelete;
    ModelSubscription m_subscription;
    QTimer m_timer;
};

} // namespace tfs::gui
