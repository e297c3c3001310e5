// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/start_task.h>
#include <control/task_command.h>

namespace tfs::control {

ExitCode StartTask(const CommandContext& context, const std::string& idOrName) {
    return CommandTask(context, idOrName, "start", &ITfsTaskManager::StartTask);
}

} // namespace tfs::control
