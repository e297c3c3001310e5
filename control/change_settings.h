// SPDX-License-Identifier: GPL-2.0-or-later
// What the commands that change settings have in common.
#pragma once

#include <control/command_context.h>
#include <control/task_refusal.h>
#include <remote_actions/action.h>

#include <functional>
#include <string>

namespace tfs::control {

/// Runs the change and reports that it was made. Throws Failure: what refused it, by its exit code and in one line;
/// other failures begin with `what`.
ExitCode ChangeSettings(const CommandContext& context, const std::string& what,
                        const std::function<CommandResult()>& change, const TaskRefusals& refusals = {});

} // namespace tfs::control
