// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/stop_task.h>
#include <control/task_refusal.h>
#include <control/task_text.h>
#include <tfs_common/catalogue_entries.h>

namespace tfs::control {

ExitCode StopTask(const CommandContext& context, const std::string& idOrName) {
    const auto tasks = Service<ITfsTaskManager>(context);
    const ulk::types::string16_t text = TaskText(idOrName);
    // Read first: a temporary task may be gone once it has stopped.
    core::TaskInfo task;
    ThrowIfFailed(tasks->GetTaskInfo(text, task), "Cannot stop " + TaskQuoted(idOrName));
    ThrowIfRefused(tasks->StopTask(text), "Cannot stop " + TaskQuoted(idOrName),
                   {.invalidState = localization::entry::CannotStopNonStartedTask});
    core::TaskInfo after;
    if (ULK_SUCCEEDED(tasks->GetTaskInfo(text, after)))
        task = std::move(after);
    else
        task.state = types::TaskState::Stopped;
    context.reporter.TaskCommandTaken("stop", task);
    return ExitCode::Ok;
}

} // namespace tfs::control
