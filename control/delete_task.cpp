// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/delete_task.h>
#include <control/task_text.h>

namespace tfs::control {

ExitCode DeleteTask(const CommandContext& context, const std::string& idOrName) {
    const auto tasks = Service<ITfsTaskManager>(context);
    const std::string failure = "Cannot delete " + TaskQuoted(idOrName);
    core::TaskInfo task;
    ThrowIfFailed(tasks->GetTaskInfo(TaskText(idOrName), task), failure);
    ThrowIfFailed(tasks->DeleteTask(task.taskName), failure);
    context.reporter.TaskDeleted(task);
    return ExitCode::Ok;
}

} // namespace tfs::control
