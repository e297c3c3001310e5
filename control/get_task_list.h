// SPDX-License-Identifier: GPL-2.0-or-later
// Command --get-task-list.
#pragma once

#include <control/command_context.h>

namespace tfs::control {

/// Reports the service's tasks in the order of their ids. Throws Failure.
ExitCode GetTaskList(const CommandContext& context);

} // namespace tfs::control
