// SPDX-License-Identifier: GPL-2.0-or-later
// The commands for settings and schedule of a task: --get-settings, --set-settings, --get-schedule, --set-schedule.
#pragma once

#include <contract/tfs/settings.h>
#include <control/command_context.h>

#include <string>
#include <vector>

namespace tfs::control {

/// What a command that changes them was given: one of the three.
struct TaskChanges {
    std::vector<settings::ChangeItem> items;
    std::string file;
    bool toDefault = false;
};

/// Shows the settings of the task, or those with the keys; see ShowSettings. Throws Failure.
ExitCode GetSettings(const CommandContext& context, const std::string& idOrName, const std::vector<std::string>& keys,
                     const std::string& file);
/// All of the changes or none. Throws Failure.
ExitCode SetSettings(const CommandContext& context, const std::string& idOrName, const TaskChanges& changes);

/// The same two for the schedule.
ExitCode GetSchedule(const CommandContext& context, const std::string& idOrName, const std::string& file);
ExitCode SetSchedule(const CommandContext& context, const std::string& idOrName, const TaskChanges& changes);

} // namespace tfs::control
