// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/task_row.h>
#include <control/values.h>

#include <utility>

namespace tfs::control {

TaskRow RowOf(ITfsTaskManager& tasks, core::TaskInfo task) {
    TaskRow row;
    const auto id = ulk::text::Cast<ulk::types::string16_t>(std::string_view(std::to_string(task.taskId)));
    TaskProgress progress;
    if (task.state != types::TaskState::Stopped && ULK_SUCCEEDED(tasks.GetProgress(id, progress)))
        row.progress = progress;
    TaskSchedule schedule;
    if (ULK_SUCCEEDED(tasks.GetSchedule(id, schedule)))
        row.schedule = Utf8(schedule.text);
    row.task = std::move(task);
    return row;
}

} // namespace tfs::control
