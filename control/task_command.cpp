// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/task_command.h>
#include <control/task_text.h>
#include <tfs_common/catalogue_entries.h>

namespace tfs::control {

TaskRefusals RefusalsOfStart(types::TaskState::Type state) noexcept {
    TaskRefusals refusals;
    if (state != types::TaskState::Stopped)
        refusals.invalidState = localization::entry::CannotStartNonStoppedTask;
    return refusals;
}

ExitCode CommandTask(const CommandContext& context, const std::string& idOrName, const std::string& verb,
                     TaskMethod method, const TaskRefusals& refusals) {
    const auto tasks = Service<ITfsTaskManager>(context);
    const ulk::types::string16_t text = TaskText(idOrName);
    ThrowIfRefused((tasks.Get()->*method)(text), "Cannot " + verb + " " + TaskQuoted(idOrName), refusals);
    core::TaskInfo task;
    ThrowIfFailed(tasks->GetTaskInfo(text, task), "Cannot read the state of " + TaskQuoted(idOrName));
    context.reporter.TaskCommandTaken(verb, task);
    return ExitCode::Ok;
}

} // namespace tfs::control
