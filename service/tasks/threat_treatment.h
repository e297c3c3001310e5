// SPDX-License-Identifier: GPL-2.0-or-later
// What becomes of a file in which a task has found a threat.
#pragma once

#include <contract/tfs/value_tables.h>
#include <service/scan/scan_run.h>
#include <service/storage/object_keeper.h>
#include <service/tasks/task_events.h>
#include <service/tasks/task_run.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace tfs::service::tasks {

/// On whose behalf a threat is treated.
struct TreatmentOrder {
    TaskIdentity task;
    Initiator initiator;
    std::optional<std::uint32_t> rightsOf; ///< see storage::FoundObject
    std::function<bool()> cancelled;       ///< may be empty
};

/// Whether the action takes the file away. Nothing can be cured: to cure, to remove and what is recommended all mean to
/// move it into Storage, from where it can be brought back.
bool TakesThreats(types::ThreatAction::Type action) noexcept;

/// Moves the threat's file into Storage and publishes ObjectDeleted, or ObjectNotDisinfected with the reason. True
/// where it was moved. `keeper` may be null. Blocking; any thread, without a lock held.
bool MoveToStorage(storage::IObjectKeeper* keeper, IRunHost& host, const TreatmentOrder& order,
                   const scan::ThreatFound& threat, types::EventSeverity::Type dangerLevel);

/// Why a threat is still there, in the words of reports, for a code of storage::IObjectKeeper::Take.
types::ObjectNotDisinfectedReason::Type NotTreatedReason(result_t code) noexcept;

} // namespace tfs::service::tasks
