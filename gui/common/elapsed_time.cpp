// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/datetime.h>
#include <gui/common/elapsed_time.h>
#include <tfs_common/elapsed_time.h>

namespace tfs::gui {

QString ElapsedTimeText(std::int64_t ageTicks) {
    return QString::fromStdString(localization::ElapsedTimeText(ageTicks));
}

QString TimeAgoText(std::int64_t momentTicks) {
    return QString::fromStdString(localization::TimeAgoText(momentTicks, ulk::datetime::NowTicks()));
}

QString TimeAgoTextFromSeconds(std::int64_t seconds) { return TimeAgoText(ulk::datetime::TicksFromSeconds(seconds)); }

} // namespace tfs::gui
