// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/datetime.h>
#include <gui/common/elapsed_time.h>
#include <gui/common/localized_text.h>

namespace tfs::gui {
namespace {

namespace entry = tfs::localization::entry;

constexpr std::int64_t TicksPerMinute = 60 * ulk::datetime::kTicksPerSecond;
constexpr std::int64_t MinutesPerHour = 60;
constexpr std::int64_t HoursPerDay = 24;

} // namespace

QString ElapsedTimeText(std::int64_t ageTicks) {
    const std::int64_t minutes = ageTicks / TicksPerMinute;
    if (minutes < 1)
        return LocalizedText(entry::GuiLessThanMinuteAgo);
    if (minutes < MinutesPerHour)
        return LocalizedPlural(entry::GuiMinutesAgo, minutes);
    const std::int64_t hours = minutes / MinutesPerHour;
    if (hours < HoursPerDay)
        return LocalizedPlural(entry::GuiHoursAgo, hours);
    return LocalizedPlural(entry::GuiDaysAgo, hours / HoursPerDay);
}

QString TimeAgoText(std::int64_t momentTicks) {
    std::int64_t age = 0;
    if (__builtin_sub_overflow(ulk::datetime::NowTicks(), momentTicks, &age))
        age = 0;
    return ElapsedTimeText(age);
}

QString TimeAgoTextFromSeconds(std::int64_t seconds) { return TimeAgoText(ulk::datetime::TicksFromSeconds(seconds)); }

} // namespace tfs::gui
