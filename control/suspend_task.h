// SPDX-License-Identifier: GPL-2.0-or-later
// Command --suspend-task.
#pragma once

#include <control/command_context.h>

#include <string>

namespace tfs::control {

/// Answers when the service has taken the command; what is in hand may take a moment to be held. Throws Failure.
ExitCode SuspendTask(const CommandContext& context, const std::string& idOrName);

} // namespace tfs::control
