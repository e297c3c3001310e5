// SPDX-License-Identifier: GPL-2.0-or-later
// Command --get-task-state.
#pragma once

#include <control/command_context.h>

#include <string>

namespace tfs::control {

/// Reports the task's state and the statistics of its current or last run. Throws Failure.
ExitCode GetTaskState(const CommandContext& context, const std::string& idOrName);

} // namespace tfs::control
