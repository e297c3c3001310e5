// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/datetime.h>
#include <service/app_info/databases_age.h>

#include <utility>

namespace tfs::service::app_info {
namespace {

/// A date that no clock knows says nothing of an age.
std::optional<DatabasesState> Classify(const AppInfo& appInfo, std::int64_t nowTicks) {
    try {
        return ClassifyDatabases(appInfo, nowTicks);
    } catch (const ulk::datetime::TimeSystemError&) {
        return std::nullopt;
    }
}

int Rank(DatabasesState state) noexcept {
    switch (state) {
    case DatabasesState::OutOfDate:
        return 1;
    case DatabasesState::TotallyOutOfDate:
        return 2;
    case DatabasesState::UpToDate:
    case DatabasesState::NotLoaded:
        break;
    }
    return 0;
}

} // namespace

std::optional<DatabasesState> DatabasesAge::Look(const AppInfo& appInfo, std::int64_t nowTicks) {
    const auto state = Classify(appInfo, nowTicks);
    if (!state || *state == DatabasesState::NotLoaded)
        return std::nullopt;
    const DatabasesState before = std::exchange(m_told, *state);
    return Rank(*state) > Rank(before) ? state : std::nullopt;
}

std::optional<std::int64_t> NextDatabasesClass(const AppInfo& appInfo, std::int64_t nowTicks) {
    const auto state = Classify(appInfo, nowTicks);
    if (!state || *state == DatabasesState::NotLoaded || *state == DatabasesState::TotallyOutOfDate)
        return std::nullopt;
    const std::int64_t days = *state == DatabasesState::UpToDate ? OutOfDateAfterDays : TotallyOutOfDateAfterDays;
    std::int64_t next = 0;
    if (__builtin_add_overflow(appInfo.avBasesDate, days * ulk::datetime::kTicksPerDay, &next))
        return std::nullopt;
    return next;
}

} // namespace tfs::service::app_info
