// SPDX-License-Identifier: GPL-2.0-or-later
// Command --stop-task.
#pragma once

#include <control/command_context.h>

#include <string>

namespace tfs::control {

/// Answers when the service has taken the command. Throws Failure.
ExitCode StopTask(const CommandContext& context, const std::string& idOrName);

} // namespace tfs::control
