// SPDX-License-Identifier: GPL-2.0-or-later
// What the commands that drive a task have in common.
#pragma once

#include <contract/tfs/tasks.h>
#include <control/command_context.h>
#include <control/task_refusal.h>

#include <string>

namespace tfs::control {

using TaskMethod = result_t (ITfsTaskManager::*)(const ulk::types::string16_t& idOrName);

/// Why a task could not be started: one that is stopped has another reason than its state.
TaskRefusals RefusalsOfStart(types::TaskState::Type state) noexcept;

/// Gives the command and tells the task as it is after that. `verb` names the command to the user. Throws Failure.
ExitCode CommandTask(const CommandContext& context, const std::string& idOrName, const std::string& verb,
                     TaskMethod method, const TaskRefusals& refusals);

} // namespace tfs::control
