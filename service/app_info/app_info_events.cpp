// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app_info/app_info_events.h>

namespace tfs::service::app_info {
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

void AddIfKnown(Event& event, AdditionalName::Type name, const std::string& value) {
    if (!value.empty())
        event.Add(name, value);
}

} // namespace

std::optional<Event> MakeDatabasesAged(DatabasesState state, std::int64_t date) {
    Event event;
    if (state == DatabasesState::OutOfDate)
        event = MakeEvent(EventName::AVBasesAreOutOfDate, EventSeverity::High);
    else if (state == DatabasesState::TotallyOutOfDate)
        event = MakeEvent(EventName::AVBasesAreTotallyOutOfDate, EventSeverity::Critical);
    else
        return std::nullopt;
    event.Add(AdditionalName::AVBasesDate, ulk::types::FileTime{date});
    return event;
}

std::optional<Event> MakeUpdateChanged(const ApplicationUpdate& update) {
    Event event;
    switch (update.state) {
    case ApplicationUpdateState::UpdateDownloaded:
        event = MakeEvent(EventName::PatchDownloaded, EventSeverity::Informational);
        break;
    case ApplicationUpdateState::UpdateInstalled:
        event = MakeEvent(EventName::PatchInstalled, EventSeverity::Informational);
        break;
    case ApplicationUpdateState::ModuleUpdateInstalled:
        event = MakeEvent(EventName::ProductModuleInstalled, EventSeverity::Informational);
        AddIfKnown(event, AdditionalName::ModuleName, update.module);
        return event;
    case ApplicationUpdateState::UpdateFailed:
        event = MakeEvent(EventName::PatchInstallError, EventSeverity::High);
        break;
    case ApplicationUpdateState::Unknown:
    case ApplicationUpdateState::NoUpdatesAvailable:
    case ApplicationUpdateState::PatchFilesCorrupted:
        return std::nullopt;
    }
    AddIfKnown(event, AdditionalName::PatchVersion, update.version);
    return event;
}

} // namespace tfs::service::app_info
