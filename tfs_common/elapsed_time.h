// SPDX-License-Identifier: GPL-2.0-or-later
// How long ago something was, in words.
#pragma once

#include <cstdint>
#include <string>

namespace tfs::localization {

/// Text of an age in 100 ns ticks, truncated to whole minutes, hours or days: "less than a minute ago" (also for a
/// negative age), "5 minutes ago", "1 hour ago", "3 days ago".
std::string ElapsedTimeText(std::int64_t ageTicks);

/// The same for a moment in ticks since 1601, as seen at `nowTicks`. A moment so far off that the age doesn't fit
/// counts as now.
std::string TimeAgoText(std::int64_t momentTicks, std::int64_t nowTicks);

} // namespace tfs::localization
