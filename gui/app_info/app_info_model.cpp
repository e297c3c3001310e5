// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/app_info/app_info_model.h>
#include <gui/common/app_settings.h>
#include <gui/common/application.h>
#include <gui/common/localized_text.h>
#include <gui/common/policy.h>

#include <QtCore/QMutexLocker>
#include <ctime>

namespace tfs::gui {
namespace {

namespace entry = tfs::localization::entry;

constexpr int TickMs = 1000;
constexpr std::int64_t LongestAgeSeconds = 60;

ulk::ITracer* Tracer() noexcept { return application::GetTracer(); }

} // namespace

AppInfoModel::AppInfoModel(QObject* parent)
    : QObject(parent), m_buttonReports(LocalizedText(entry::GuiAppInfoButtonReports)),
      m_buttonStorage(LocalizedText(entry::GuiAppInfoButtonStorage)),
      m_buttonSettings(LocalizedText(entry::GuiAppInfoButtonSettings)),
      m_buttonSupport(LocalizedText(entry::GuiAppInfoButtonSupport)),
      m_buttonScan(LocalizedText(entry::GuiAppInfoButtonScan)),
      m_buttonUpdate(LocalizedText(entry::GuiAppInfoButtonUpdate)),
      m_popupHeaderText(LocalizedText(entry::GuiPopupHeaderText)),
      m_popupOpenLinkText(LocalizedText(entry::GuiPopupOpenLinkText)),
      m_popupTaskFailureHead(LocalizedText(entry::GuiPopupTaskFailureHead)),
      m_popupTaskFailureLink(LocalizedText(entry::GuiPopupTaskFailureLink)) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    CheckTaskPolicyChanged();
    m_lastUpdateTime = 0;
    connect(&m_timer, &QTimer::timeout, this, &AppInfoModel::UpdateAppInfo);
    m_timer.start(TickMs);
    try {
        Subscribe();
    }
    GUI_CATCH_ALL
    SetAppInfo();
    m_infoIsReady = true;
    Q_EMIT infoIsReadyChanged(true);
}

AppInfoModel::~AppInfoModel() {
    try {
        Unsubscribe();
    }
    GUI_CATCH_ALL
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
}

void AppInfoModel::UpdateAppInfo() {
    ULK_TRACE(Tracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    try {
        CheckTaskPolicyChanged();
        const std::int64_t now = std::time(nullptr);
        // A refresh that lies ahead was before the clock was put back.
        const bool isFresh = now - LongestAgeSeconds <= m_lastRefreshTime && m_lastRefreshTime <= now;
        if (m_lastUpdateTime == 0 && isFresh)
            return;
        m_lastUpdateTime = 0;
        m_lastRefreshTime = now;
        SetAppInfo();
    }
    GUI_CATCH_ALL
}

void AppInfoModel::CheckTaskPolicyChanged() {
    bool local = false;
    bool group = false;
    result_t result = ulk::eUnspecified;
    try {
        result = policy::IsUserManageTasksAllowed(local, group);
    }
    GUI_CATCH_ALL
    if (!ULK_SUCCEEDED(result)) {
        ULK_TRACE(Tracer(), ulk::level::Failure) << "CheckTaskPolicyChanged"
                                                 << " - cannot get info about task management policy";
        return;
    }
    if (local == m_allowUserManageLocalTasks && group == m_allowUserManageGroupTasks)
        return;
    m_allowUserManageLocalTasks = local;
    m_allowUserManageGroupTasks = group;
    NoteChange();
}

void AppInfoModel::NoteChange() noexcept { m_lastUpdateTime = std::time(nullptr); }

void AppInfoModel::SetAppInfo() {
    const QMutexLocker lock(&m_mutex);
    try {
        Refresh();
        return;
    }
    GUI_CATCH_ALL
    Set(m_dangerLevel, Critical, &AppInfoModel::dangerLevelChanged);
}

void AppInfoModel::Refresh() {
    m_currentDangerInfo.Reset();
    AppInfoValues values = m_values;
    try {
        const auto remote = application::AcquireRemoteServiceLocator();
        m_reader.Read(remote.Get(), values, m_currentDangerInfo);
    } catch (...) {
        // What the steps before the failing one found is shown all the same.
        ApplyValues(values);
        throw;
    }
    ApplyValues(values);
    const bool isUnderPolicy = policy::IsUnderPolicy();
    if (isUnderPolicy)
        m_currentDangerInfo.Reset();
    Set(m_issuesInfo, m_currentDangerInfo.Sentence(), &AppInfoModel::issuesInfoChanged);
    Set(m_isUnderPolicy, isUnderPolicy, &AppInfoModel::isUnderPolicyChanged);
    Set(m_reportsAllowed, app_settings::IsReportsAllowedForCurrentUser(), &AppInfoModel::reportsAllowedChanged);
    Set(m_dangerLevel, static_cast<DangerLevel>(m_currentDangerInfo.Level()), &AppInfoModel::dangerLevelChanged);
}

void AppInfoModel::ApplyValues(const AppInfoValues& values) {
    Set(m_values.licenseStatus, values.licenseStatus, &AppInfoModel::licenseStatusChanged);
    Set(m_values.infoLastScanTime, values.infoLastScanTime, &AppInfoModel::infoLastScanTimeChanged);
    Set(m_values.infoLastScanResult, values.infoLastScanResult, &AppInfoModel::infoLastScanResultChanged);
    Set(m_values.infoScanResultIsError, values.infoScanResultIsError, &AppInfoModel::infoScanResultIsErrorChanged);
    Set(m_values.infoLastUpdateTime, values.infoLastUpdateTime, &AppInfoModel::infoLastUpdateTimeChanged);
    Set(m_values.infoDatabasesState, values.infoDatabasesState, &AppInfoModel::infoDatabasesStateChanged);
    Set(m_values.infoDatabasesIsError, values.infoDatabasesIsError, &AppInfoModel::infoDatabasesIsErrorChanged);
    Set(m_values.scanInfoAvailable, values.scanInfoAvailable, &AppInfoModel::scanInfoAvailableChanged);
    Set(m_values.updateInfoAvailable, values.updateInfoAvailable, &AppInfoModel::updateInfoAvailableChanged);
}

template <class T, class Argument>
void AppInfoModel::Set(T& field, const T& value, void (AppInfoModel::*changed)(Argument)) {
    if (field == value)
        return;
    field = value;
    Q_EMIT(this->*changed)(field);
}

} // namespace tfs::gui
