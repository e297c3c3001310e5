// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/suspend_task.h>
#include <control/task_command.h>

namespace tfs::control {

ExitCode SuspendTask(const CommandContext& context, const std::string& idOrName) {
    return CommandTask(context, idOrName, "suspend", &ITfsTaskManager::PauseTask);
}

} // namespace tfs::control
