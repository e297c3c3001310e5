// SPDX-License-Identifier: GPL-2.0-or-later
// The list behind the protection page: what is wrong with the device and what would cure it.
#pragma once

#include <foundation/sync.h>
#include <gui/backup_manager/backup_fill_watch.h>
#include <gui/common/event_handlers.h>
#include <gui/common/model_subscription.h>
#include <gui/protection_info/protection_issues.h>

#include <QtCore/QAbstractListModel>
#include <QtCore/QMap>
#include <QtCore/QTimer>
#include <chrono>
#include <functional>

namespace tfs::gui {

/// Made by a page and gone with it. Timer, slots and row changes are the GUI thread's; event handlers run on the
/// subscription's thread and only note that something changed. A refresh follows within a second of a change and at
/// least every 32 seconds; one that fails leaves the rows as they stood. A slot never throws; a failed command changes
/// nothing on show.
class ProtectionStateModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(QString pageHeader READ pageHeader NOTIFY pageHeaderChanged)
    Q_PROPERTY(QString emptyIssuesTitle READ emptyIssuesTitle NOTIFY emptyIssuesTitleChanged)
    Q_PROPERTY(QString runTaskButtonName READ runTaskButtonName NOTIFY runTaskButtonNameChanged)
    Q_PROPERTY(QString stopTaskButtonName READ stopTaskButtonName NOTIFY stopTaskButtonNameChanged)
    Q_PROPERTY(QString fixLicenseLinkName READ fixLicenseLinkName NOTIFY fixLicenseLinkNameChanged)
    Q_PROPERTY(QString manageBackupLinkName READ manageBackupLinkName NOTIFY manageBackupLinkNameChanged)
    Q_PROPERTY(QString enableComponentButtonName READ enableComponentButtonName NOTIFY enableComponentButtonNameChanged)
    Q_PROPERTY(QString startInProgress READ startInProgress NOTIFY startInProgressChanged)

public:
    enum IssuesActionsType {
        ActionUnknown = static_cast<int>(overview::IssueAction::Unknown),
        ActionStartUpdate = static_cast<int>(overview::IssueAction::StartUpdate),
        ActionStopUpdate = static_cast<int>(overview::IssueAction::StopUpdate),
        ActionEnableComponent = static_cast<int>(overview::IssueAction::EnableComponent),
        ActionStartScan = static_cast<int>(overview::IssueAction::StartScan),
        ActionLicenseLink = static_cast<int>(overview::IssueAction::LicenseLink),
        ActionStorageLink = static_cast<int>(overview::IssueAction::StorageLink),
        ActionNone = static_cast<int>(overview::IssueAction::None),
    };
    Q_ENUM(IssuesActionsType)

    enum IssuesRoles {
        IssueIdRole = 257,
        IssueTitleRole = 258,
        IssueDescriptionRole = 259,
        ActionsTypeRole = 260,
        TaskNameRole = 261,
        AvailableRole = 262,
    };

    /// Monotonic; asked on any thread.
    using SteadyClock = std::function<std::chrono::steady_clock::time_point()>;

    /// Subscribes, takes the first snapshot and starts the timer.
    explicit ProtectionStateModel(QObject* parent = nullptr);
    explicit ProtectionStateModel(SteadyClock clock, QObject* parent = nullptr);
    ~ProtectionStateModel() override;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override ULK_NO_ANALYSIS;
    QVariant data(const QModelIndex& index, int role) const override ULK_NO_ANALYSIS;
    QHash<int, QByteArray> roleNames() const override;

    QString pageHeader() const { return m_pageHeader; }
    QString emptyIssuesTitle() const { return m_emptyIssuesTitle; }
    QString runTaskButtonName() const { return m_runTaskButtonName; }
    QString stopTaskButtonName() const { return m_stopTaskButtonName; }
    QString fixLicenseLinkName() const { return m_fixLicenseLinkName; }
    QString manageBackupLinkName() const { return m_manageBackupLinkName; }
    QString enableComponentButtonName() const { return m_enableComponentButtonName; }
    QString startInProgress() const { return m_startInProgress; }

    Q_SIGNAL void pageHeaderChanged(const QString& pageHeader);
    Q_SIGNAL void emptyIssuesTitleChanged(const QString& emptyIssuesTitle);
    Q_SIGNAL void runTaskButtonNameChanged(const QString& runTaskButtonName);
    Q_SIGNAL void stopTaskButtonNameChanged(const QString& stopTaskButtonName);
    Q_SIGNAL void fixLicenseLinkNameChanged(const QString& fixLicenseLinkName);
    Q_SIGNAL void manageBackupLinkNameChanged(const QString& manageBackupLinkName);
    Q_SIGNAL void enableComponentButtonNameChanged(const QString& enableComponentButtonName);
    Q_SIGNAL void startInProgressChanged(const QString& startInProgress);

public Q_SLOTS:
    void startTask(QString taskName);
    void stopTask(QString taskName);
    /// The timer's tick.
    void UpdateProtectionStateInfo();

private:
    void Subscribe();
    result_t OnEvent(const Event& event);
    static const EventHandlers<ProtectionStateModel>& Handlers();

    // On the subscription's thread.
    result_t OnTaskStateChanged(const Event& event);
    result_t OnAppSettingsChanged(const Event& event);
    void NoteChange() ULK_EXCLUDES(m_changeMutex);

    // On the GUI thread.
    void SetProtectionStateInfo() noexcept ULK_EXCLUDES(m_issuesMutex);
    ProtectionFacts GatherFacts();
    void Apply(const IssueVerdict& verdict) ULK_REQUIRES(m_issuesMutex);
    void SetIssue(const IssueInfo& issue) ULK_REQUIRES(m_issuesMutex);
    void RemoveIssue(int key) ULK_REQUIRES(m_issuesMutex);
    int RowOf(int key) const ULK_REQUIRES(m_issuesMutex);

    QString m_pageHeader;
    QString m_emptyIssuesTitle;
    QString m_runTaskButtonName;
    QString m_stopTaskButtonName;
    QString m_fixLicenseLinkName;
    QString m_manageBackupLinkName;
    QString m_enableComponentButtonName;
    QString m_startInProgress;

    const SteadyClock m_clock;
    /// Taken before m_issuesMutex. A tick holds it to its end: a change that comes meanwhile waits for the next one
    /// and is never taken for seen.
    ulk::Mutex m_changeMutex;
    /// Of a change that waits for a refresh; zero when none does.
    std::chrono::steady_clock::time_point m_lastUpdateTime ULK_GUARDED_BY(m_changeMutex);
    std::chrono::steady_clock::time_point m_lastRefreshTime ULK_GUARDED_BY(m_changeMutex);
    /// Rows change on the GUI thread alone, under this lock and with their signals, so that thread reads them without
    /// it: a view that is told of a row asks for it at once.
    ulk::Mutex m_issuesMutex;
    QMap<int, IssueInfo> m_issues ULK_GUARDED_BY(m_issuesMutex);
    /// GUI thread; a slot called from a row's signal must not begin again.
    bool m_isRefreshing = false;
    ulk::Ptr<ulk::IServiceLocator> m_remoteSl;
    ModelSubscription m_subscription;
    QTimer m_timer;
    BackupFillWatch m_backupFill;
};

} // namespace tfs::gui
