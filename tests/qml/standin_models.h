// SPDX-License-Identifier: GPL-2.0-or-later
// Stand-ins for what the program registers for its pages, under the same names, so that pages can be driven without a
// service. Everything is writable from a test. GUI thread only; owned by the page or by the test's setup.
#pragma once

#include <tests/qml/standin_rows.h>

#include <QtCore/QPoint>

namespace tfs::tests {

#define STANDIN_PROPERTY(type, name, initial)                                                                          \
    Q_PROPERTY(type name MEMBER m_##name NOTIFY name##Changed)                                                         \
public:                                                                                                                \
    Q_SIGNAL void name##Changed();                                                                                     \
    type m_##name = initial;

class AppInfo : public QObject {
    Q_OBJECT
    STANDIN_PROPERTY(QString, buttonReports, "Reports")
    STANDIN_PROPERTY(QString, buttonStorage, "Storage")
    STANDIN_PROPERTY(QString, buttonSettings, "Settings")
    STANDIN_PROPERTY(QString, buttonSupport, "Support")
    STANDIN_PROPERTY(QString, buttonScan, "Scan")
    STANDIN_PROPERTY(QString, buttonUpdate, "Update")
    STANDIN_PROPERTY(QString, licenseStatus, QString())
    STANDIN_PROPERTY(bool, isUnderPolicy, false)
    STANDIN_PROPERTY(bool, reportsAllowed, true)
    STANDIN_PROPERTY(QString, infoLastScanTime, "Last scan: 2 hours ago")
    STANDIN_PROPERTY(QString, infoLastScanResult, "Nothing detected")
    STANDIN_PROPERTY(QString, infoLastUpdateTime, "Last update: 12 minutes ago")
    STANDIN_PROPERTY(QString, infoDatabasesState, "Databases are up to date.")
    STANDIN_PROPERTY(bool, infoDatabasesIsError, false)
    STANDIN_PROPERTY(bool, infoScanResultIsError, false)
    STANDIN_PROPERTY(bool, scanInfoAvailable, true)
    STANDIN_PROPERTY(bool, updateInfoAvailable, true)
    STANDIN_PROPERTY(bool, infoIsReady, true)
    STANDIN_PROPERTY(QString, popupHeaderText, "Custom scan completed")
    STANDIN_PROPERTY(QString, popupOpenLinkText, "open reports")
    STANDIN_PROPERTY(QString, popupTaskFailureHead, "Failed to start task")
    STANDIN_PROPERTY(QString, popupTaskFailureLink, "Open task reports")
    STANDIN_PROPERTY(QString, issuesInfo, "Your device is in danger")
    Q_PROPERTY(DangerLevel dangerLevel MEMBER m_dangerLevel NOTIFY dangerLevelChanged)

public:
    enum DangerLevel { OK = 0, Warning = 1, Critical = 2 };
    Q_ENUM(DangerLevel)

    AppInfo();
    ~AppInfo() override;

    // How many are alive, and the youngest of them.
    static int Count();
    static AppInfo* Last();

Q_SIGNALS:
    void dangerLevelChanged();
    void customScanStarted(uint taskId);
    void customScanStopped(uint taskId, const QString& message);
    void taskStartFailed(uint compId, const QString& taskName);

private:
    DangerLevel m_dangerLevel = Critical;
};

class TaskList : public StandinRows {
    Q_OBJECT
    STANDIN_PROPERTY(QString, pageHeader, "Tasks")
    STANDIN_PROPERTY(QString, runTaskButtonName, "Start")
    STANDIN_PROPERTY(QString, stopTaskButtonName, "Stop")
    STANDIN_PROPERTY(QString, goToReportsButtonName, "Show report")
    STANDIN_PROPERTY(qulonglong, defaultUpdateTaskId, 6)
    STANDIN_PROPERTY(QString, runRollbackText, "Rollback update")
    STANDIN_PROPERTY(bool, reportsAllowed, true)
    STANDIN_PROPERTY(bool, isRollbackAvailable, false)
    Q_PROPERTY(bool scanTasksMode READ ScanTasksMode WRITE SetScanTasksMode NOTIFY scanTasksModeChanged)

public:
    enum TaskStates {
        TaskStateStarting,
        TaskStateStarted,
        TaskStatePausing,
        TaskStateSuspended,
        TaskStateResuming,
        TaskStateStopping,
        TaskStateStopped,
        TaskStateUnknown
    };
    Q_ENUM(TaskStates)

    TaskList();
    ~TaskList() override;

    static int Count();
    static TaskList* Last();

    bool ScanTasksMode() const { return m_scanTasksMode; }
    void SetScanTasksMode(bool mode);

public Q_SLOTS:
    void startTask(qulonglong id) { Note(QString("startTask %1").arg(id)); }
    void stopTask(qulonglong id) { Note(QString("stopTask %1").arg(id)); }
    void deleteTask(qulonglong id) { Note(QString("deleteTask %1").arg(id)); }
    void rollbackUpdate() { Note("rollbackUpdate"); }

Q_SIGNALS:
    void scanTasksModeChanged();

private:
    bool m_scanTasksMode = false;
};

class ProtectionState : public StandinRows {
    Q_OBJECT
    STANDIN_PROPERTY(QString, pageHeader, "Protection center")
    STANDIN_PROPERTY(QString, emptyIssuesTitle, "There are no issues")
    STANDIN_PROPERTY(QString, runTaskButtonName, "Start")
    STANDIN_PROPERTY(QString, stopTaskButtonName, "Stop")
    STANDIN_PROPERTY(QString, fixLicenseLinkName, "go to Licensing")
    STANDIN_PROPERTY(QString, manageBackupLinkName, "go to Storage")
    STANDIN_PROPERTY(QString, enableComponentButtonName, "Enable")
    STANDIN_PROPERTY(QString, startInProgress, "starting...")

public:
    enum IssuesActionsType {
        ActionUnknown,
        ActionStartUpdate,
        ActionStopUpdate,
        ActionEnableComponent,
        ActionStartScan,
        ActionLicenseLink,
        ActionStorageLink,
        ActionNone
    };
    Q_ENUM(IssuesActionsType)

    ProtectionState();
    ~ProtectionState() override;

    static int Count();
    static ProtectionState* Last();
    /// With these rows the next ones begin.
    static void SetFirstRows(const QVariantList& rows);

public Q_SLOTS:
    void startTask(const QString& taskName) { Note("startTask " + taskName); }
    void stopTask(const QString& taskName) { Note("stopTask " + taskName); }
};

class Connection : public QObject {
    Q_OBJECT
    STANDIN_PROPERTY(bool, isConnectedToProduct, true)
    STANDIN_PROPERTY(bool, isCertifiedBuild, false)
    STANDIN_PROPERTY(QString, appIsUnavailableText, "The application is unavailable")
    STANDIN_PROPERTY(QString, certifiedBuildText, "This build is certified")
};

class TrayAvailability : public QObject {
    Q_OBJECT
    STANDIN_PROPERTY(bool, available, false)
    STANDIN_PROPERTY(bool, watching, false)
public:
    Q_INVOKABLE void watch() {
        m_watching = true;
        Q_EMIT watchingChanged();
    }
    Q_INVOKABLE void showQuietly(QObject*) {}
};

class MousePosition : public QObject {
    Q_OBJECT
public Q_SLOTS:
    QPoint cursorPos() const;
};

// What a test asks about the models that pages have made.
class Models : public QObject {
    Q_OBJECT
    Q_PROPERTY(QObject* appInfo READ AppInfoObject)
    Q_PROPERTY(QObject* taskList READ TaskListObject)
    Q_PROPERTY(QObject* protectionState READ ProtectionStateObject)
    Q_PROPERTY(int appInfoCount READ AppInfoCount)
    Q_PROPERTY(int taskListCount READ TaskListCount)
    Q_PROPERTY(int protectionStateCount READ ProtectionStateCount)

public:
    QObject* AppInfoObject() const { return AppInfo::Last(); }
    QObject* TaskListObject() const { return TaskList::Last(); }
    QObject* ProtectionStateObject() const { return ProtectionState::Last(); }
    int AppInfoCount() const { return AppInfo::Count(); }
    int TaskListCount() const { return TaskList::Count(); }
    int ProtectionStateCount() const { return ProtectionState::Count(); }

    Q_INVOKABLE void setFirstIssues(const QVariantList& rows) { ProtectionState::SetFirstRows(rows); }
};

// Registers the types, to be done once before the first QML file is loaded.
void RegisterStandins();

} // namespace tfs::tests
