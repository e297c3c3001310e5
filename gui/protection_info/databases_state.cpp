// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/datetime.h>
#include <gui/protection_info/databases_state.h>

namespace tfs::gui {
namespace {

constexpr std::int64_t FirstOutdatedDay = 3;
constexpr std::int64_t FirstTotallyOutdatedDay = 8;

} // namespace

DatabasesState ClassifyDatabases(const AppInfo& appInfo) {
    return ClassifyDatabases(appInfo, ulk::datetime::NowTicks());
}

DatabasesState ClassifyDatabases(const AppInfo& appInfo, std::int64_t nowTicks) {
    if (!appInfo.avBasesLoaded)
        return DatabasesState::NotLoaded;
    // Throws for a date that the platform's clock doesn't know; what passes can be subtracted without overflow.
    (void)ulk::datetime::SecondsFromTicks(appInfo.avBasesDate);
    const std::int64_t days = (nowTicks - appInfo.avBasesDate) / ulk::datetime::kTicksPerDay;
    if (days >= FirstTotallyOutdatedDay)
        return DatabasesState::TotallyOutOfDate;
    if (days >= FirstOutdatedDay)
        return DatabasesState::OutOfDate;
    return DatabasesState::UpToDate;
}

} // namespace tfs::gui
