// SPDX-License-Identifier: GPL-2.0-or-later
// The part of ProtectionStateModel that runs on its subscription's thread.
#include <foundation/check.h>
#include <gui/common/application.h>
#include <gui/protection_info/protection_state_model.h>

namespace tfs::gui {
namespace {

using tfs::types::AdditionalName;
using tfs::types::EventName;

ulk::ITracer* Tracer() noexcept { return application::GetTracer(); }

bool IsShown(const ulk::types::string16_t& taskName) {
    return taskName == task_name::FileMonitoring || taskName == task_name::FullScan || taskName == task_name::Update;
}

} // namespace

const EventHandlers<ProtectionStateModel>& ProtectionStateModel::Handlers() {
    static const EventHandlers<ProtectionStateModel> handlers = [] {
        EventHandlers<ProtectionStateModel> map{
            {EventName::TaskStateChanged, &ProtectionStateModel::OnTaskStateChanged},
        };
        map.Add({EventName::AVBasesApplied,
                 EventName::AVBasesAreOutOfDate,
                 EventName::AVBasesAreTotallyOutOfDate,
                 EventName::BlacklistCorrupted,
                 EventName::AVBasesCorrupted,
                 EventName::LicenseExpired,
                 EventName::LicenseExpiresSoon,
                 EventName::LicenseInstalled,
                 EventName::LicenseNotInstalled,
                 EventName::LicenseRevoked,
                 EventName::LicenseNotRevoked,
                 EventName::SubscriptionExpired,
                 EventName::SubscriptionExpiresSoon,
                 EventName::SubscriptionExpirationDateChanged,
                 EventName::PatchDownloaded,
                 EventName::PatchInstalled,
                 EventName::ProductModuleInstalled,
                 EventName::ObjectRemovedFromBackup,
                 EventName::ObjectRestoredFromBackup,
                 EventName::ObjectSavedToBackup},
                &ProtectionStateModel::OnAppSettingsChanged);
        return map;
    }();
    return handlers;
}

void ProtectionStateModel::Subscribe() {
    const EventFilter filter = Handlers().Filter(
        {EventName::UpdateProgressChanged, EventName::ODSProgressChanged, EventName::ObjectProcessingStarted});
    m_subscription.Open(m_remoteSl.Get(), u"ProtectionStateModel", filter,
                        [this](const Event& event) { return OnEvent(event); });
}

result_t ProtectionStateModel::OnEvent(const Event& event) { return Handlers().Call(*this, event); }

result_t ProtectionStateModel::OnTaskStateChanged(const Event& event) {
    ulk::types::string16_t taskName;
    const result_t result = ULK_CHECK_TRACE(Tracer(), event.GetAdditionalData(AdditionalName::TaskName, taskName),
                                            "there is no field TaskName");
    if (!ULK_SUCCEEDED(result))
        return result;
    if (IsShown(taskName))
        NoteChange();
    else
        ULK_TRACE(Tracer(), ulk::level::Detail) << "Do nothing if state of " << taskName << " was changed";
    return ulk::sOk;
}

result_t ProtectionStateModel::OnAppSettingsChanged(const Event&) {
    NoteChange();
    return ulk::sOk;
}

void ProtectionStateModel::NoteChange() {
    const ulk::LockGuard lock(m_changeMutex);
    m_lastUpdateTime = m_clock();
}

} // namespace tfs::gui
