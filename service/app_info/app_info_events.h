// SPDX-License-Identifier: GPL-2.0-or-later
// The events that tell of old databases and of updates of the application.
#pragma once

#include <contract/tfs/app_info.h>
#include <contract/tfs/event.h>
#include <service/app_info/update_watch.h>
#include <tfs_common/databases_state.h>

#include <optional>

namespace tfs::service::app_info {

/// AVBasesAreOutOfDate or AVBasesAreTotallyOutOfDate; nothing for the other classes. `date` as in AppInfo.
std::optional<Event> MakeDatabasesAged(DatabasesState state, std::int64_t date);

/// What the event log says when this becomes the state of the application's update; nothing where it is no news.
std::optional<Event> MakeUpdateChanged(const ApplicationUpdate& update);

} // namespace tfs::service::app_info
