// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/datetime.h>
#include <tfs_common/databases_state.h>

namespace tfs {

DatabasesState ClassifyDatabases(const AppInfo& appInfo) {
    return ClassifyDatabases(appInfo, ulk::datetime::NowTicks());
}

DatabasesState ClassifyDatabases(const AppInfo& appInfo, std::int64_t nowTicks) {
    if (!appInfo.avBasesLoaded)
        return DatabasesState::NotLoaded;
    // Throws for a date that the platform's clock doesn't know; what passes can be subtracted without overflow.
    (void)ulk::datetime::SecondsFromTicks(appInfo.avBasesDate);
    const std::int64_t days = (nowTicks - appInfo.avBasesDate) / ulk::datetime::kTicksPerDay;
    if (days >= TotallyOutOfDateAfterDays)
        return DatabasesState::TotallyOutOfDate;
    if (days >= OutOfDateAfterDays)
        return DatabasesState::OutOfDate;
    return DatabasesState::UpToDate;
}

} // namespace tfs
