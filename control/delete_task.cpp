// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/delete_task.h>
#include <control/task_refusal.h>
#include <control/task_text.h>
#include <tfs_common/catalogue_entries.h>

namespace tfs::control {

ExitCode DeleteTask(const CommandContext& context, const std::string& idOrName) {
    const auto tasks = Service<ITfsTaskManager>(context);
    const std::string failure = "Cannot delete " + TaskQuoted(idOrName);
    core::TaskInfo task;
    ThrowIfFailed(tasks->GetTaskInfo(TaskText(idOrName), task), failure);
    ThrowIfRefused(tasks->DeleteTask(task.taskName), failure,
                   {.invalidState = localization::entry::CannotDeleteNonStoppedTask,
                    .notSupported = localization::entry::CannotDeleteSystemTask});
    context.reporter.TaskDeleted(task);
    return ExitCode::Ok;
}

} // namespace tfs::control
