// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/threat_treatment.h>

namespace tfs::service::tasks {
namespace {

using types::ObjectNotDisinfectedReason;

storage::FoundObject ObjectOf(const TreatmentOrder& order, const scan::ThreatFound& threat,
                              types::EventSeverity::Type dangerLevel) {
    storage::FoundObject object;
    object.file = threat.file->Get();
    object.path = threat.path;
    object.detectName = threat.detectName;
    object.dangerLevel = dangerLevel;
    object.initiator = order.initiator.kind;
    object.user = order.initiator.user;
    object.taskName = order.task.taskName;
    object.taskType = order.task.taskType;
    object.taskId = order.task.taskId;
    object.runId = order.task.runId;
    object.rightsOf = order.rightsOf;
    object.cancelled = order.cancelled;
    return object;
}

} // namespace

bool TakesThreats(types::ThreatAction::Type action) noexcept {
    switch (action) {
    case types::ThreatAction::Cure:
    case types::ThreatAction::Remove:
    case types::ThreatAction::Recommended:
        return true;
    case types::ThreatAction::Skip:
    case types::ThreatAction::Block:
        break;
    }
    return false;
}

ObjectNotDisinfectedReason::Type NotTreatedReason(result_t code) noexcept {
    switch (code) {
    case ulk::eAlreadyDone:
        return ObjectNotDisinfectedReason::ObjectNotFound;
    case ulk::eInsufficientResources:
        return ObjectNotDisinfectedReason::OutOfSpace;
    case eReadOnlyFileSystem:
        return ObjectNotDisinfectedReason::WriteProtect;
    case ulk::eAccessDenied:
        return ObjectNotDisinfectedReason::NoPermissions;
    case ulk::eCancelled:
        return ObjectNotDisinfectedReason::TaskStopped;
    case ulk::eLocked:
        return ObjectNotDisinfectedReason::Locked;
    case ulk::eNotSupported:
        return ObjectNotDisinfectedReason::NonCurable;
    default:
        return ObjectNotDisinfectedReason::CannotBackup;
    }
}

bool MoveToStorage(storage::IObjectKeeper* keeper, IRunHost& host, const TreatmentOrder& order,
                   const scan::ThreatFound& threat, types::EventSeverity::Type dangerLevel) {
    BackupId id = 0;
    std::string why;
    result_t result = ulk::eNotReady;
    if (!threat.file)
        result = ulk::eAlreadyDone;
    else if (keeper != nullptr)
        result = keeper->Take(ObjectOf(order, threat, dangerLevel), id, why);
    if (ULK_SUCCEEDED(result))
        host.PublishFinding(MakeObjectDeleted(order.task, order.initiator, threat, id));
    else
        host.PublishFinding(MakeNotDisinfected(order.task, order.initiator, threat, NotTreatedReason(result), why));
    return ULK_SUCCEEDED(result);
}

} // namespace tfs::service::tasks
