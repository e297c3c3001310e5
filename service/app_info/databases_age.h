// SPDX-License-Identifier: GPL-2.0-or-later
// Notices when the databases become out of date.
#pragma once

#include <contract/tfs/app_info.h>
#include <tfs_common/databases_state.h>

#include <cstdint>
#include <optional>

namespace tfs::service::app_info {

/// Keeps what was told. Used on one thread.
class DatabasesAge {
public:
    /// The class that the databases have come to, where it is worse than what was told before; else nothing. Databases
    /// that aren't loaded change nothing. Newer ones, and a clock that was put back, make the same age news again.
    /// `nowTicks` in 100 ns since 1601-01-01 UTC.
    std::optional<DatabasesState> Look(const AppInfo& appInfo, std::int64_t nowTicks);

private:
    DatabasesState m_told = DatabasesState::UpToDate;
};

/// When loaded databases of that date come into the next class, in ticks; nothing where they don't.
std::optional<std::int64_t> NextDatabasesClass(const AppInfo& appInfo, std::int64_t nowTicks);

} // namespace tfs::service::app_info
