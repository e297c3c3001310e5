// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/get_task_list.h>

#include <algorithm>

namespace tfs::control {

ExitCode GetTaskList(const CommandContext& context) {
    std::vector<core::TaskInfo> tasks;
    ThrowIfFailed(Service<ITfsTaskManager>(context)->GetTaskList(tasks), "Cannot get the task list");
    std::sort(tasks.begin(), tasks.end(),
              [](const core::TaskInfo& a, const core::TaskInfo& b) { return a.taskId < b.taskId; });
    context.reporter.TaskList(tasks);
    return ExitCode::Ok;
}

} // namespace tfs::control
