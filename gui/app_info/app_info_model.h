// SPDX-License-Identifier: GPL-2.0-or-later
// The summary on the main page: verdict on the device, last scan and update, and the popups of the tray.
#pragma once

#include <gui/app_info/app_info_reader.h>
#include <gui/backup_manager/backup_fill_watch.h>
#include <gui/common/event_handlers.h>
#include <gui/common/model_subscription.h>

#include <QtCore/QMutex>
#include <QtCore/QObject>
#include <QtCore/QTimer>
#include <atomic>
#include <cstdint>

namespace tfs::gui {

/// Made by QML, lives on the GUI thread. Holds no protection logic: a refresh derives every value afresh from what the
/// service reports, within a second of a change and at least once a minute. Event handlers run on the subscription's
/// thread and only note that something changed; the popup signals are emitted on the GUI thread.
class AppInfoModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString buttonReports READ buttonReports NOTIFY buttonReportsChanged)
    Q_PROPERTY(QString buttonStorage READ buttonStorage NOTIFY buttonStorageChanged)
    Q_PROPERTY(QString buttonSettings READ buttonSettings NOTIFY buttonSettingsChanged)
    Q_PROPERTY(QString buttonSupport READ buttonSupport NOTIFY buttonSupportChanged)
    Q_PROPERTY(QString buttonScan READ buttonScan NOTIFY buttonScanChanged)
    Q_PROPERTY(QString buttonUpdate READ buttonUpdate NOTIFY buttonUpdateChanged)
    Q_PROPERTY(QString licenseStatus READ licenseStatus NOTIFY licenseStatusChanged)
    Q_PROPERTY(bool isUnderPolicy READ isUnderPolicy NOTIFY isUnderPolicyChanged)
    Q_PROPERTY(bool reportsAllowed READ reportsAllowed NOTIFY reportsAllowedChanged)
    Q_PROPERTY(QString infoLastScanTime READ infoLastScanTime NOTIFY infoLastScanTimeChanged)
    Q_PROPERTY(QString infoLastScanResult READ infoLastScanResult NOTIFY infoLastScanResultChanged)
    Q_PROPERTY(QString infoLastUpdateTime READ infoLastUpdateTime NOTIFY infoLastUpdateTimeChanged)
    Q_PROPERTY(QString infoDatabasesState READ infoDatabasesState NOTIFY infoDatabasesStateChanged)
    Q_PROPERTY(bool infoDatabasesIsError READ infoDatabasesIsError NOTIFY infoDatabasesIsErrorChanged)
    Q_PROPERTY(bool infoScanResultIsError READ infoScanResultIsError NOTIFY infoScanResultIsErrorChanged)
    Q_PROPERTY(bool scanInfoAvailable READ scanInfoAvailable NOTIFY scanInfoAvailableChanged)
    Q_PROPERTY(bool updateInfoAvailable READ updateInfoAvailable NOTIFY updateInfoAvailableChanged)
    Q_PROPERTY(bool infoIsReady READ infoIsReady NOTIFY infoIsReadyChanged)
    Q_PROPERTY(QString popupHeaderText READ popupHeaderText NOTIFY popupHeaderTextChanged)
    Q_PROPERTY(QString popupOpenLinkText READ popupOpenLinkText NOTIFY popupOpenLinkTextChanged)
    Q_PROPERTY(QString popupTaskFailureHead READ popupTaskFailureHead NOTIFY popupTaskFailureHeadChanged)
    Q_PROPERTY(QString popupTaskFailureLink READ popupTaskFailureLink NOTIFY popupTaskFailureLinkChanged)
    Q_PROPERTY(DangerLevel dangerLevel READ dangerLevel NOTIFY dangerLevelChanged)
    Q_PROPERTY(QString issuesInfo READ issuesInfo NOTIFY issuesInfoChanged)

public:
    enum DangerLevel {
        OK = static_cast<int>(Danger::OK),
        Warning = static_cast<int>(Danger::Warning),
        Critical = static_cast<int>(Danger::Critical),
    };
    Q_ENUM(DangerLevel)

    explicit AppInfoModel(QObject* parent = nullptr);
    ~AppInfoModel() override;

    QString buttonReports() const { return m_buttonReports; }
    QString buttonStorage() const { return m_buttonStorage; }
    QString buttonSettings() const { return m_buttonSettings; }
    QString buttonSupport() const { return m_buttonSupport; }
    QString buttonScan() const { return m_buttonScan; }
    QString buttonUpdate() const { return m_buttonUpdate; }
    QString licenseStatus() const { return m_values.licenseStatus; }
    bool isUnderPolicy() const { return m_isUnderPolicy; }
    bool reportsAllowed() const { return m_reportsAllowed; }
    QString infoLastScanTime() const { return m_values.infoLastScanTime; }
    QString infoLastScanResult() const { return m_values.infoLastScanResult; }
    QString infoLastUpdateTime() const { return m_values.infoLastUpdateTime; }
    QString infoDatabasesState() const { return m_values.infoDatabasesState; }
    bool infoDatabasesIsError() const { return m_values.infoDatabasesIsError; }
    bool infoScanResultIsError() const { return m_values.infoScanResultIsError; }
    bool scanInfoAvailable() const { return m_values.scanInfoAvailable; }
    bool updateInfoAvailable() const { return m_values.updateInfoAvailable; }
    bool infoIsReady() const { return m_infoIsReady; }
    QString popupHeaderText() const { return m_popupHeaderText; }
    QString popupOpenLinkText() const { return m_popupOpenLinkText; }
    QString popupTaskFailureHead() const { return m_popupTaskFailureHead; }
    QString popupTaskFailureLink() const { return m_popupTaskFailureLink; }
    DangerLevel dangerLevel() const { return m_dangerLevel; }
    QString issuesInfo() const { return m_issuesInfo; }

    Q_SIGNAL void buttonReportsChanged(const QString& buttonReports);
    Q_SIGNAL void buttonStorageChanged(const QString& buttonStorage);
    Q_SIGNAL void buttonSettingsChanged(const QString& buttonSettings);
    Q_SIGNAL void buttonSupportChanged(const QString& buttonSupport);
    Q_SIGNAL void buttonScanChanged(const QString& buttonScan);
    Q_SIGNAL void buttonUpdateChanged(const QString& buttonUpdate);
    Q_SIGNAL void licenseStatusChanged(const QString& licenseStatus);
    Q_SIGNAL void isUnderPolicyChanged(bool isUnderPolicy);
    Q_SIGNAL void reportsAllowedChanged(bool reportsAllowed);
    Q_SIGNAL void infoLastScanTimeChanged(const QString& infoLastScanTime);
    Q_SIGNAL void infoLastScanResultChanged(const QString& infoLastScanResult);
    Q_SIGNAL void infoLastUpdateTimeChanged(const QString& infoLastUpdateTime);
    Q_SIGNAL void infoDatabasesStateChanged(const QString& infoDatabasesState);
    Q_SIGNAL void infoDatabasesIsErrorChanged(bool infoDatabasesIsError);
    Q_SIGNAL void infoScanResultIsErrorChanged(bool infoScanResultIsError);
    Q_SIGNAL void scanInfoAvailableChanged(bool scanInfoAvailable);
    Q_SIGNAL void updateInfoAvailableChanged(bool updateInfoAvailable);
    Q_SIGNAL void infoIsReadyChanged(bool infoIsReady);
    Q_SIGNAL void popupHeaderTextChanged(const QString& popupHeaderText);
    Q_SIGNAL void popupOpenLinkTextChanged(const QString& popupOpenLinkText);
    Q_SIGNAL void popupTaskFailureHeadChanged(const QString& popupTaskFailureHead);
    Q_SIGNAL void popupTaskFailureLinkChanged(const QString& popupTaskFailureLink);
    Q_SIGNAL void dangerLevelChanged(tfs::gui::AppInfoModel::DangerLevel dangerLevel);
    Q_SIGNAL void issuesInfoChanged(const QString& issuesInfo);

    Q_SIGNAL void customScanStarted(uint taskId);
    Q_SIGNAL void customScanStopped(uint taskId, QString message);
    /// The second argument is the whole sentence.
    Q_SIGNAL void taskStartFailed(uint compId, QString taskName);

public Q_SLOTS:
    /// The timer's tick.
    void UpdateAppInfo();

private:
    void Subscribe();
    void Unsubscribe();
    result_t OnEvent(const Event& event);
    static const EventHandlers<AppInfoModel>& Handlers();
    result_t OnTaskStateChanged(const Event& event);
    result_t OnTaskNotStarted(const Event& event);
    result_t OnAppSettingsChanged(const Event& event);
    void OnTemporaryScanStateChanged(ulk::IServiceLocator* remoteSl, const Event& event, const TaskInfo& task);

    void CheckTaskPolicyChanged();
    void SetAppInfo();
    void Refresh();
    void ApplyValues(const AppInfoValues& values);
    /// Compares first, emits only on a change.
    template <class T, class Argument>
    void Set(T& field, const T& value, void (AppInfoModel::*changed)(Argument));
    /// Any thread.
    void NoteChange() noexcept;

    QString m_buttonReports;
    QString m_buttonStorage;
    QString m_buttonSettings;
    QString m_buttonSupport;
    QString m_buttonScan;
    QString m_buttonUpdate;
    QString m_popupHeaderText;
    QString m_popupOpenLinkText;
    QString m_popupTaskFailureHead;
    QString m_popupTaskFailureLink;
    AppInfoValues m_values = AppInfoValues::Initial();
    bool m_isUnderPolicy = false;
    bool m_reportsAllowed = false;
    bool m_infoIsReady = false;
    /// Danger until the first refresh has succeeded, never safety.
    DangerLevel m_dangerLevel = Critical;
    QString m_issuesInfo;

    /// Seconds since 1970 of a change that waits for a refresh; 0 when none does. Outlives what notes a change.
    std::atomic<std::int64_t> m_lastUpdateTime{0};
    BackupFillWatch m_backupFill{[this] { NoteChange(); }};
    AppInfoReader m_reader{[this](ulk::IServiceLocator* remoteSl, std::uint32_t& percentage) {
        return m_backupFill.GetBackupFillPercentage(remoteSl, percentage);
    }};
    CurrentDangerInfo m_currentDangerInfo;
    std::int64_t m_lastRefreshTime = 0;
    bool m_allowUserManageLocalTasks = false;
    bool m_allowUserManageGroupTasks = false;
    /// Guards a refresh.
    QMutex m_mutex;
    ModelSubscription m_subscription;
    QTimer m_timer;
};

} // namespace tfs::gui
