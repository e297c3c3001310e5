// SPDX-License-Identifier: GPL-2.0-or-later
// The events that Storage publishes, with their additional data in the order in which reports show them.
#pragma once

#include <contract/tfs/event.h>
#include <service/storage/object_keeper.h>
#include <service/storage/object_record.h>

#include <optional>
#include <string>

namespace tfs::service::storage {

/// `information` may be empty.
Event MakeSaved(const ObjectRecord& record, const FoundObject& object, const std::string& information);
/// One whose saving was interrupted by the end of the service and finished at the next start.
Event MakeSavedLate(const ObjectRecord& record);
Event MakeSaveFailed(const FoundObject& object, const std::string& reason);
/// `user` is who asked for it; empty: Storage itself.
Event MakeRemoved(const ObjectRecord& record, const std::optional<EventUser>& user);
Event MakeRestored(const ObjectRecord& record, const std::optional<EventUser>& user, const std::string& information);
Event MakeRemovedSoon(const ObjectRecord& record, std::uint32_t daysLeft);
Event MakeLimitReached(std::uint32_t limitMb);

} // namespace tfs::service::storage
