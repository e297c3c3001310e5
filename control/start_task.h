// SPDX-License-Identifier: GPL-2.0-or-later
// Command --start-task.
#pragma once

#include <control/command_context.h>

#include <string>

namespace tfs::control {

/// Answers when the service has taken the command; the task goes on by itself. RunTask waits for its end. Throws
/// Failure.
ExitCode StartTask(const CommandContext& context, const std::string& idOrName);

} // namespace tfs::control
