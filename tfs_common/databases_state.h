// SPDX-License-Identifier: GPL-2.0-or-later
// How old the databases are, in four classes.
#pragma once

#include <contract/tfs/app_info.h>

#include <cstdint>

namespace tfs {

enum class DatabasesState : std::uint32_t {
    UpToDate = 0,
    NotLoaded = 1,
    OutOfDate = 2,
    TotallyOutOfDate = 3,
};

/// The age in whole days with which each class begins.
inline constexpr std::int64_t OutOfDateAfterDays = 3;
inline constexpr std::int64_t TotallyOutOfDateAfterDays = 8;

/// Age in whole days: 3 to 7 is out of date, 8 and more totally out of date; a date in the future is up to date.
/// A date that can't be represented throws ulk::datetime::TimeSystemError "Invalid utc timestamp for posix platform ".
DatabasesState ClassifyDatabases(const AppInfo& appInfo);
/// The same as seen at `nowTicks`, in 100 ns since 1601-01-01 UTC.
DatabasesState ClassifyDatabases(const AppInfo& appInfo, std::int64_t nowTicks);

} // namespace tfs
