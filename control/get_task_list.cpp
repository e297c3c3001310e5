// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/get_task_list.h>

#include <algorithm>

namespace tfs::control {

ExitCode GetTaskList(const CommandContext& context) {
    const auto manager = Service<ITfsTaskManager>(context);
    std::vector<core::TaskInfo> tasks;
    ThrowIfFailed(manager->GetTaskList(tasks), "Cannot get the task list");
    std::sort(tasks.begin(), tasks.end(),
              [](const core::TaskInfo& a, const core::TaskInfo& b) { return a.taskId < b.taskId; });
    std::vector<TaskRow> rows;
    for (core::TaskInfo& task : tasks)
        rows.push_back(RowOf(*manager, std::move(task)));
    context.reporter.TaskList(rows);
    return ExitCode::Ok;
}

} // namespace tfs::control
