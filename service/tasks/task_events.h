// SPDX-License-Identifier: GPL-2.0-or-later
// The events that tasks publish, with their additional data in the order in which reports show them.
#pragma once

#include <contract/tfs/event.h>
#include <contract/tfs/tasks.h>
#include <service/scan/scan_run.h>

#include <optional>
#include <string>
#include <utility>

namespace tfs::service::tasks {

/// What every event of a task names.
struct TaskIdentity {
    std::uint64_t taskId = 0;
    ulk::types::string16_t taskName;
    ulk::types::string16_t taskType;
    std::uint64_t runId = 0; ///< of the current or last run; 0 before the first
};

/// Who commands; the service itself where nothing else is said.
struct Initiator {
    types::EventInitiator::Type kind = types::EventInitiator::Product;
    std::optional<EventUser> user; ///< with User

    static Initiator OfUser(EventUser user) { return {types::EventInitiator::User, std::move(user)}; }
    static Initiator OfScheduler() { return {types::EventInitiator::Scheduler, {}}; }
};

/// For events of other areas' tasks: one without additional data, and the pairs that every event of a task ends or
/// begins with.
Event MakeEvent(types::EventName::Type type, const Initiator& initiator);
void AddTask(Event& event, const TaskIdentity& task);

Event MakeStateChanged(const TaskIdentity& task, const Initiator& initiator, types::TaskState::Type state,
                       types::TaskState::Type previous);
Event MakeTaskCreated(const TaskIdentity& task, const Initiator& initiator);
Event MakeTaskDeleted(const TaskIdentity& task, const Initiator& initiator);
Event MakeTaskNotStarted(const TaskIdentity& task, const Initiator& initiator, types::TaskNotStartedReason::Type reason,
                         const std::string& information);
/// `settings` is what changed, as "key=value, key=value".
Event MakeSettingsChanged(const TaskIdentity& task, const Initiator& initiator, const std::string& settings);
/// `schedule` is the whole of it, in the same form.
Event MakeScheduleChanged(const TaskIdentity& task, const Initiator& initiator, const std::string& schedule);
/// The run ended before its work was done, and nobody asked for it.
Event MakeInterrupted(const TaskIdentity& task, const std::string& reason);
/// For PublishTransient.
Event MakeProgress(const TaskIdentity& task, std::uint32_t percent);
Event MakeThreatDetected(const TaskIdentity& task, const Initiator& initiator, const scan::ThreatFound& threat,
                         const ulk::types::string16_t& fileOwner);
/// The threat's file is in Storage, as the object `id`, and gone from where it was.
Event MakeObjectDeleted(const TaskIdentity& task, const Initiator& initiator, const scan::ThreatFound& threat,
                        std::uint64_t id);
/// The threat's file is where it was. `why` is one line for people and may be empty.
Event MakeNotDisinfected(const TaskIdentity& task, const Initiator& initiator, const scan::ThreatFound& threat,
                         types::ObjectNotDisinfectedReason::Type reason, const std::string& why);
Event MakeNotProcessed(const TaskIdentity& task, const Initiator& initiator, const std::string& path,
                       const std::string& reason, const std::string& detail);

/// Kind of a threat, told from the engine's name of it.
types::DetectType::Type DetectTypeOf(std::string_view detectName) noexcept;
/// Guesses of the engine carry a name of their own.
types::DetectCertainty::Type DetectCertaintyOf(std::string_view detectName) noexcept;

} // namespace tfs::service::tasks
