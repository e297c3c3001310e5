// SPDX-License-Identifier: GPL-2.0-or-later
// When a schedule starts its task, in the machine's local time. Pure but for the time zone; any thread.
#pragma once

#include <contract/tfs/tasks.h>

#include <cstdint>
#include <optional>

namespace tfs::service::tasks {

/// The first start after a moment; both in seconds since the Unix epoch. Empty where the schedule has none of its own:
/// started by hand, at the service's start, or no schedule at all.
/// A time that a day doesn't have, because the clocks are put forward over it, is taken as much later; one that a day
/// has twice counts once, the first time.
std::optional<std::int64_t> NextStart(const TaskSchedule& schedule, std::int64_t after);

/// What is due of a schedule that has been served up to a moment.
struct DueStart {
    bool start = false;               ///< now
    std::int64_t served = 0;          ///< what is to be kept
    std::optional<std::int64_t> next; ///< when to look again
};

/// A start that is more than `MissedAfter` late was missed: it is made up, once however many there were, where the
/// schedule says so. A clock that was put back by less than a day doesn't bring back starts that were made; one put
/// back further, as from a wrong date, begins anew.
inline constexpr std::int64_t MissedAfter = 60; // seconds
DueStart WhatIsDue(const TaskSchedule& schedule, std::int64_t served, std::int64_t now);

} // namespace tfs::service::tasks
