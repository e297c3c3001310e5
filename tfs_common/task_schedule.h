// SPDX-License-Identifier: GPL-2.0-or-later
// A task's schedule between the record, whose parts are numbers, the settings by which users name it, and one line of
// text. Pure, any thread.
#pragma once

#include <contract/tfs/settings.h>
#include <contract/tfs/tasks.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tfs::tools {

/// Seconds since midnight of "HH:MM" or "HH:MM:SS"; empty for anything else.
std::optional<std::int64_t> ParseTimeOfDay(std::string_view text) noexcept;
/// "HH:MM", with ":SS" behind it where the seconds aren't 0. `seconds` lies within a day.
std::string PrintTimeOfDay(std::int64_t seconds);

/// Is each number of the record one that its mode can have?
bool IsSchedule(const TaskSchedule& schedule) noexcept;

/// Of a record that isn't a schedule, the settings of a task that is started by hand.
ScheduleSettings SettingsOfSchedule(const TaskSchedule& schedule);
/// The record without its text. eInvalidArgument, with a line in `messages` for each fault, leaves it as it was.
result_t ScheduleOfSettings(const ScheduleSettings& settings, TaskSchedule& schedule,
                            std::vector<settings::ValidationMessage>& messages);

/// One line for people, as in "Weekly, Monday, 03:00".
std::string PrintSchedule(const TaskSchedule& schedule);

} // namespace tfs::tools
