// SPDX-License-Identifier: GPL-2.0-or-later
// Command --resume-task.
#pragma once

#include <control/command_context.h>

#include <string>

namespace tfs::control {

/// Answers when the service has taken the command: the task goes on where it was suspended. Throws Failure.
ExitCode ResumeTask(const CommandContext& context, const std::string& idOrName);

} // namespace tfs::control
