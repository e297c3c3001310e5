// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/start_task.h>
#include <control/task_command.h>
#include <control/task_text.h>

namespace tfs::control {

ExitCode StartTask(const CommandContext& context, const std::string& idOrName) {
    core::TaskInfo before;
    ThrowIfFailed(Service<ITfsTaskManager>(context)->GetTaskInfo(TaskText(idOrName), before),
                  "Cannot start " + TaskQuoted(idOrName));
    return CommandTask(context, idOrName, "start", &ITfsTaskManager::StartTask, RefusalsOfStart(before.state));
}

} // namespace tfs::control
