// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/resume_task.h>
#include <control/task_command.h>

namespace tfs::control {

ExitCode ResumeTask(const CommandContext& context, const std::string& idOrName) {
    return CommandTask(context, idOrName, "resume", &ITfsTaskManager::ResumeTask);
}

} // namespace tfs::control
