// SPDX-License-Identifier: GPL-2.0-or-later
// Command --delete-task.
#pragma once

#include <control/command_context.h>

#include <string>

namespace tfs::control {

/// Deletes the task and reports which it was. Throws Failure.
ExitCode DeleteTask(const CommandContext& context, const std::string& idOrName);

} // namespace tfs::control
