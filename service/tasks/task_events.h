// SPDX-License-Identifier: GPL-2.0-or-later
// The events that tasks publish, with their additional data in the order in which reports show them.
#pragma once

#include <contract/tfs/event.h>
#include <contract/tfs/tasks.h>
#include <service/scan/scan_run.h>

#include <optional>
#include <string>

namespace tfs::service::tasks {

/// What every event of a task names.
struct TaskIdentity {
    std::uint64_t taskId = 0;
    ulk::types::string16_t taskName;
    ulk::types::string16_t taskType;
    std::uint64_t runId = 0; ///< of the current or last run; 0 before the first
};

/// Who commands; empty where the service itself does.
using Initiator = std::optional<EventUser>;

Event MakeStateChanged(const TaskIdentity& task, const Initiator& initiator, types::TaskState::Type state,
                       types::TaskState::Type previous);
Event MakeTaskCreated(const TaskIdentity& task, const Initiator& initiator);
Event MakeTaskDeleted(const TaskIdentity& task, const Initiator& initiator);
Event MakeTaskNotStarted(const TaskIdentity& task, const Initiator& initiator, types::TaskNotStartedReason::Type reason,
                         const std::string& information);
/// The run ended before its work was done, and nobody asked for it.
Event MakeInterrupted(const TaskIdentity& task, const std::string& reason);
/// For PublishTransient.
Event MakeProgress(const TaskIdentity& task, std::uint32_t percent);
Event MakeThreatDetected(const TaskIdentity& task, const Initiator& initiator, const scan::ThreatFound& threat,
                         const ulk::types::string16_t& fileOwner);
Event MakeNotProcessed(const TaskIdentity& task, const Initiator& initiator, const std::string& path,
                       const std::string& reason, const std::string& detail);

/// Kind of a threat, told from the engine's name of it.
types::DetectType::Type DetectTypeOf(std::string_view detectName) noexcept;
/// Guesses of the engine carry a name of their own.
types::DetectCertainty::Type DetectCertaintyOf(std::string_view detectName) noexcept;

} // namespace tfs::service::tasks
