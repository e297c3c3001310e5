// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/datetime.h>
#include <tfs_common/elapsed_time.h>
#include <tfs_common/translator.h>

namespace tfs::localization {
namespace {

constexpr std::int64_t TicksPerMinute = 60 * ulk::datetime::kTicksPerSecond;
constexpr std::int64_t MinutesPerHour = 60;
constexpr std::int64_t HoursPerDay = 24;

} // namespace

std::string ElapsedTimeText(std::int64_t ageTicks) {
    const std::int64_t minutes = ageTicks / TicksPerMinute;
    if (minutes < 1)
        return GetLocalizedString(entry::GuiLessThanMinuteAgo);
    if (minutes < MinutesPerHour)
        return GetLocalizedPlural(entry::GuiMinutesAgo, minutes);
    const std::int64_t hours = minutes / MinutesPerHour;
    if (hours < HoursPerDay)
        return GetLocalizedPlural(entry::GuiHoursAgo, hours);
    return GetLocalizedPlural(entry::GuiDaysAgo, hours / HoursPerDay);
}

std::string TimeAgoText(std::int64_t momentTicks, std::int64_t nowTicks) {
    std::int64_t age = 0;
    if (__builtin_sub_overflow(nowTicks, momentTicks, &age))
        age = 0;
    return ElapsedTimeText(age);
}

} // namespace tfs::localization
