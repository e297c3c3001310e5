// SPDX-License-Identifier: GPL-2.0-or-later
// The part of AppInfoModel that runs on its subscription's thread.
#include <foundation/check.h>
#include <gui/app_info/app_info_model.h>
#include <gui/app_info/task_popups.h>
#include <gui/common/application.h>
#include <gui/task_manager/task_event_fields.h>

namespace tfs::gui {
namespace {

using tfs::types::AdditionalName;
using tfs::types::EventName;
using tfs::types::TaskState;

ulk::ITracer* Tracer() noexcept { return application::GetTracer(); }

} // namespace

const EventHandlers<AppInfoModel>& AppInfoModel::Handlers() {
    static const EventHandlers<AppInfoModel> handlers = [] {
        EventHandlers<AppInfoModel> map{
            {EventName::TaskStateChanged, &AppInfoModel::OnTaskStateChanged},
            {EventName::TaskNotStarted, &AppInfoModel::OnTaskNotStarted},
        };
        map.Add({EventName::TaskCreated,
                 EventName::TaskDeleted,
                 EventName::ApplicationSettingsChanged,
                 EventName::ThreatDetected,
                 EventName::OtherObjectDetected,
                 EventName::AVBasesApplied,
                 EventName::AVBasesAreOutOfDate,
                 EventName::AVBasesAreTotallyOutOfDate,
                 EventName::BlacklistCorrupted,
                 EventName::AVBasesCorrupted,
                 EventName::IllegalUpdate,
                 EventName::LicenseExpired,
                 EventName::LicenseExpiresSoon,
                 EventName::LicenseInstalled,
                 EventName::LicenseNotInstalled,
                 EventName::LicenseRevoked,
                 EventName::LicenseNotRevoked,
                 EventName::BackupSizeLimitReached,
                 EventName::BackupObjectRemovedSoon,
                 EventName::SubscriptionExpired,
                 EventName::SubscriptionExpiresSoon,
                 EventName::SubscriptionExpirationDateChanged,
                 EventName::FileIntegrityIssue,
                 EventName::FileIntegrityOk,
                 EventName::BaselineBuilt,
                 EventName::FileIntegrityMonitorAlarmOverflow,
                 EventName::ObjectIntegrityCannotBeChecked,
                 EventName::IntegrityMonitorError,
                 EventName::EncryptionDetected,
                 EventName::HostBlocked,
                 EventName::HostNotBlocked,
                 EventName::HostUnblocked,
                 EventName::NetworkActivityAllowed,
                 EventName::NetworkActivityBlocked,
                 EventName::PatchDownloaded,
                 EventName::PatchInstalled,
                 EventName::ProductModuleInstalled,
                 EventName::ObjectRemovedFromBackup,
                 EventName::ObjectRestoredFromBackup,
                 EventName::ObjectSavedToBackup},
                &AppInfoModel::OnAppSettingsChanged);
        return map;
    }();
    return handlers;
}

void AppInfoModel::Subscribe() {
    const auto remote = application::AcquireRemoteServiceLocator();
    const EventFilter filter = Handlers().Filter({EventName::UpdateProgressChanged, EventName::ODSProgressChanged,
                                                  EventName::ObjectProcessingStarted, EventName::TashellUpdateDone});
    m_subscription.Open(remote.Get(), u"AppInfoModel", filter, [this](const Event& event) { return OnEvent(event); });
}

void AppInfoModel::Unsubscribe() { m_subscription.Close(); }

result_t AppInfoModel::OnEvent(const Event& event) { return Handlers().Call(*this, event); }

result_t AppInfoModel::OnAppSettingsChanged(const Event&) {
    NoteChange();
    ULK_TRACE(Tracer(), ulk::level::Detail)
        << __PRETTY_FUNCTION__ << ", m_lastUpdateTime = " << m_lastUpdateTime.load();
    return ulk::sOk;
}

result_t AppInfoModel::OnTaskStateChanged(const Event& event) {
    const auto id = TaskIdOf(event);
    if (!id)
        ulk::check::Throw(__FILE__, __LINE__, ulk::eUnspecified, "There is no taskId field in task event!");
    const auto remote = application::AcquireRemoteServiceLocator();
    TaskInfo task;
    OnDemandTaskListActions actions;
    ULK_CHECK_THROW(actions.GetTaskInfo(remote.Get(), TaskIdText(*id), task), "Error while taking task info");
    if (IsTemporaryScan(task.core))
        OnTemporaryScanStateChanged(remote.Get(), event, task);
    else
        NoteChange();
    return ulk::sOk;
}

void AppInfoModel::OnTemporaryScanStateChanged(ulk::IServiceLocator* remoteSl, const Event& event,
                                               const TaskInfo& task) {
    const auto state = TaskStateOf(event);
    if (!state)
        ulk::check::Throw(__FILE__, __LINE__, ulk::eUnspecified, "There is no taskId field in task event!");
    const auto id = static_cast<uint>(task.core.taskId);
    ULK_TRACE(Tracer(), ulk::level::Detail) << "Got info about temporary ODS task " << task.core.taskId
                                            << ", current state: " << static_cast<std::int32_t>(*state);
    if (*state == TaskState::Starting) {
        QMetaObject::invokeMethod(
            this, [this, id] { Q_EMIT customScanStarted(id); }, Qt::QueuedConnection);
    } else if (*state == TaskState::Stopped) {
        const QString message = task_popups::ForCustomScanStopped(remoteSl, task);
        QMetaObject::invokeMethod(
            this, [this, id, message] { Q_EMIT customScanStopped(id, message); }, Qt::QueuedConnection);
    }
}

result_t AppInfoModel::OnTaskNotStarted(const Event& event) {
    const auto remote = application::AcquireRemoteServiceLocator();
    const auto failure = task_popups::ForTaskNotStarted(remote.Get(), event);
    if (failure) {
        QMetaObject::invokeMethod(
            this, [this, failure] { Q_EMIT taskStartFailed(failure->componentId, failure->text); },
            Qt::QueuedConnection);
    }
    return ulk::sOk;
}

} // namespace tfs::gui
