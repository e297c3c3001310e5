// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/storage/storage_events.h>

namespace tfs::service::storage {
namespace {

using types::AdditionalName;
using types::EventName;
using types::EventSeverity;

Event MakeEvent(EventName::Type type, EventSeverity::Type severity) {
    Event event;
    event.type = type;
    event.severity = severity;
    return event;
}

void AddFile(Event& event, const std::string& path, const std::string& detectName) {
    event.Add(AdditionalName::FileName, path);
    event.Add(AdditionalName::ObjectName, static_cast<std::uint32_t>(types::ObjectName::File));
    event.Add(AdditionalName::DetectName, ulk::text::ToUtf16Lossy(detectName));
}

void AddObject(Event& event, const ObjectRecord& record) {
    event.Add(AdditionalName::ObjectId, record.id);
    AddFile(event, record.path, record.detectName);
    event.Add(AdditionalName::Size, record.identity.size);
    event.Add(AdditionalName::FileOwnerId, record.ownerUid);
}

void AddInformation(Event& event, const std::string& information) {
    if (!information.empty())
        event.Add(AdditionalName::Information, information);
}

/// What no task has done is told under Storage's own name.
void AddStorage(Event& event) {
    event.Add(AdditionalName::TaskName, ulk::types::string16_t(task_name::Backup));
    event.Add(AdditionalName::TaskType, ulk::types::string16_t(task_type::Backup));
}

void AddFinder(Event& event, const FoundObject& object) {
    event.initiator = object.initiator;
    event.initiatorUser = object.user;
    if (object.taskType.empty())
        return AddStorage(event);
    event.Add(AdditionalName::TaskName, object.taskName);
    event.Add(AdditionalName::TaskId, object.taskId);
    event.Add(AdditionalName::TaskType, object.taskType);
    event.Add(AdditionalName::RuntimeTaskId, object.runId);
}

void SetUser(Event& event, const std::optional<EventUser>& user) {
    if (user)
        event.initiator = types::EventInitiator::User;
    event.initiatorUser = user;
}

} // namespace

Event MakeSaved(const ObjectRecord& record, const FoundObject& object, const std::string& information) {
    Event event = MakeEvent(EventName::ObjectSavedToBackup, EventSeverity::Informational);
    AddObject(event, record);
    AddInformation(event, information);
    AddFinder(event, object);
    return event;
}

Event MakeSavedLate(const ObjectRecord& record) {
    Event event = MakeEvent(EventName::ObjectSavedToBackup, EventSeverity::Informational);
    AddObject(event, record);
    AddStorage(event);
    return event;
}

Event MakeSaveFailed(const FoundObject& object, const std::string& reason) {
    Event event = MakeEvent(EventName::ObjectSaveToBackupFailed, EventSeverity::High);
    AddFile(event, object.path, object.detectName);
    event.Add(AdditionalName::Reason, reason);
    AddFinder(event, object);
    return event;
}

Event MakeRemoved(const ObjectRecord& record, const std::optional<EventUser>& user) {
    Event event = MakeEvent(EventName::ObjectRemovedFromBackup, EventSeverity::Informational);
    AddObject(event, record);
    AddStorage(event);
    SetUser(event, user);
    return event;
}

Event MakeRestored(const ObjectRecord& record, const std::optional<EventUser>& user, const std::string& information) {
    Event event = MakeEvent(EventName::ObjectRestoredFromBackup, EventSeverity::Medium);
    AddObject(event, record);
    AddInformation(event, information);
    AddStorage(event);
    SetUser(event, user);
    return event;
}

Event MakeRemovedSoon(const ObjectRecord& record, std::uint32_t daysLeft) {
    Event event = MakeEvent(EventName::BackupObjectRemovedSoon, EventSeverity::Low);
    AddObject(event, record);
    event.Add(AdditionalName::DaysLeft, daysLeft);
    AddStorage(event);
    return event;
}

Event MakeLimitReached(std::uint32_t limitMb) {
    Event event = MakeEvent(EventName::BackupSizeLimitReached, EventSeverity::High);
    event.Add(AdditionalName::Information, std::to_string(limitMb) + " MiB");
    AddStorage(event);
    return event;
}

} // namespace tfs::service::storage
