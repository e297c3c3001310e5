// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/start_task.h>
#include <control/task_text.h>

namespace tfs::control {

ExitCode StartTask(const CommandContext& context, const std::string& idOrName) {
    const auto tasks = Service<ITfsTaskManager>(context);
    const ulk::types::string16_t text = TaskText(idOrName);
    ThrowIfFailed(tasks->StartTask(text), "Cannot start " + TaskQuoted(idOrName));
    core::TaskInfo task;
    ThrowIfFailed(tasks->GetTaskInfo(text, task), "Cannot read the state of " + TaskQuoted(idOrName));
    context.reporter.TaskCommandTaken("start", task);
    return ExitCode::Ok;
}

} // namespace tfs::control
