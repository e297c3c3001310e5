// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/update/update_events.h>

#include <algorithm>
#include <optional>

namespace tfs::service::update {
namespace {

using types::AdditionalName;
using types::EventName;
using types::EventSeverity;

/// The event's own pair comes first, the task behind it.
struct Pair {
    AdditionalName::Type name;
    ulk::types::variant_t value;
};

Event MakeEvent(EventName::Type type, EventSeverity::Type severity, const TaskIdentity& task,
                const Initiator& initiator, std::optional<Pair> own = {}) {
    Event event = tasks::MakeEvent(type, initiator);
    event.severity = severity;
    if (own)
        event.Add(own->name, std::move(own->value));
    tasks::AddTask(event, task);
    return event;
}

} // namespace

Event MakeUpdateSourceSelected(const TaskIdentity& task, const Initiator& initiator, const std::string& source) {
    return MakeEvent(EventName::UpdateSourceSelected, EventSeverity::Informational, task, initiator,
                     Pair{AdditionalName::UpdateSource, source});
}

Event MakeModuleDownloaded(const TaskIdentity& task, const Initiator& initiator, const std::string& module) {
    return MakeEvent(EventName::ModuleDownloaded, EventSeverity::Informational, task, initiator,
                     Pair{AdditionalName::ModuleName, module});
}

Event MakeFileUpdateStarted(const TaskIdentity& task, const Initiator& initiator, const std::string& file) {
    return MakeEvent(EventName::FileUpdateStarted, EventSeverity::Informational, task, initiator,
                     Pair{AdditionalName::FileName, file});
}

Event MakeFileUpdateFinished(const TaskIdentity& task, const Initiator& initiator, const std::string& file) {
    return MakeEvent(EventName::FileUpdateFinished, EventSeverity::Informational, task, initiator,
                     Pair{AdditionalName::FileName, file});
}

Event MakeBasesAttached(const TaskIdentity& task, const Initiator& initiator) {
    return MakeEvent(EventName::AVBasesAttached, EventSeverity::Informational, task, initiator);
}

Event MakeNothingToUpdate(const TaskIdentity& task, const Initiator& initiator) {
    return MakeEvent(EventName::NothingToUpdate, EventSeverity::Informational, task, initiator);
}

Event MakeUpdateError(const TaskIdentity& task, const Initiator& initiator, const std::string& reason) {
    return MakeEvent(EventName::UpdateError, EventSeverity::High, task, initiator,
                     Pair{AdditionalName::Reason, reason});
}

Event MakeBasesNotLoaded(const TaskIdentity& task, const Initiator& initiator, const std::string& why) {
    return MakeEvent(EventName::AVBasesIntegrityCheckFailed, EventSeverity::Critical, task, initiator,
                     Pair{AdditionalName::Information, why});
}

Event MakeRollbackCompleted(const TaskIdentity& task, const Initiator& initiator) {
    return MakeEvent(EventName::AVBasesRollbackCompleted, EventSeverity::Informational, task, initiator);
}

Event MakeRollbackError(const TaskIdentity& task, const Initiator& initiator, const std::string& reason) {
    return MakeEvent(EventName::AVBasesRollbackError, EventSeverity::High, task, initiator,
                     Pair{AdditionalName::Reason, reason});
}

Event MakeUpdateProgress(const TaskIdentity& task, std::uint32_t percent) {
    return MakeEvent(EventName::UpdateProgressChanged, EventSeverity::Informational, task, {},
                     Pair{AdditionalName::UpdateProgress, static_cast<std::int32_t>(std::min(percent, 100u))});
}

} // namespace tfs::service::update
