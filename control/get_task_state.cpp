// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/get_task_state.h>
#include <control/task_text.h>

namespace tfs::control {

ExitCode GetTaskState(const CommandContext& context, const std::string& idOrName) {
    const auto tasks = Service<ITfsTaskManager>(context);
    core::TaskInfo task;
    ThrowIfFailed(tasks->GetTaskInfo(TaskText(idOrName), task), "Cannot read the state of " + TaskQuoted(idOrName));
    OxsStatistic statistic;
    std::optional<OxsStatistic> lastRun;
    const result_t result = tasks->GetStatistic(task.taskName, statistic);
    if (ULK_SUCCEEDED(result) && statistic.taskId == task.taskId)
        lastRun = std::move(statistic);
    else if (ULK_FAILED(result) && result != ulk::eNotFound)
        ThrowIfFailed(result, "Cannot read the statistics of " + TaskQuoted(idOrName));
    context.reporter.TaskState(RowOf(*tasks, std::move(task)), lastRun);
    return ExitCode::Ok;
}

} // namespace tfs::control
