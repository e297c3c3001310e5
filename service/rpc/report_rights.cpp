// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/rpc/report_rights.h>

#include <algorithm>

namespace tfs::service::rpc {
namespace {

using types::AdditionalName;

/// Names, not what is to stay out: a field that is new is kept from users until somebody thinks about it.
constexpr AdditionalName::Type Told[] = {
    AdditionalName::TaskName,       AdditionalName::RuntimeTaskId,
    AdditionalName::TaskId,         AdditionalName::TaskState,
    AdditionalName::PrevTaskState,  AdditionalName::TaskType,
    AdditionalName::ObjectId,       AdditionalName::UpdateProgress,
    AdditionalName::UpdateStatus,   AdditionalName::ODSProgress,
    AdditionalName::AVBasesDate,    AdditionalName::AVRecordsCount,
    AdditionalName::DaysLeft,       AdditionalName::ApplicationStopReason,
    AdditionalName::Settings,       AdditionalName::TaskNotStartedReason,
    AdditionalName::PatchVersion,   AdditionalName::TsnState,
    AdditionalName::UpdatedRecords, AdditionalName::AVBasesReleaseDate,
};

} // namespace

bool IsOwn(const Event& event, const Caller& caller) noexcept {
    return event.initiator == types::EventInitiator::User && event.initiatorUser &&
           event.initiatorUser->uid == caller.uid;
}

Event WithoutReport(const Event& event) {
    Event told;
    told.id = event.id;
    told.type = event.type;
    told.severity = event.severity;
    told.initiator = event.initiator;
    told.time = event.time;
    for (const EventAdditionalData& field : event.additional)
        if (std::ranges::find(Told, field.name) != std::end(Told))
            told.additional.push_back(field);
    return told;
}

} // namespace tfs::service::rpc
