// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/task_command.h>
#include <control/task_text.h>

namespace tfs::control {

ExitCode CommandTask(const CommandContext& context, const std::string& idOrName, const std::string& verb,
                     TaskMethod method) {
    const auto tasks = Service<ITfsTaskManager>(context);
    const ulk::types::string16_t text = TaskText(idOrName);
    ThrowIfFailed((tasks.Get()->*method)(text), "Cannot " + verb + " " + TaskQuoted(idOrName));
    core::TaskInfo task;
    ThrowIfFailed(tasks->GetTaskInfo(text, task), "Cannot read the state of " + TaskQuoted(idOrName));
    context.reporter.TaskCommandTaken(verb, task);
    return ExitCode::Ok;
}

} // namespace tfs::control
