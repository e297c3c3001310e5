// SPDX-License-Identifier: GPL-2.0-or-later
// From a task to the row that shows it.
#pragma once

#include <gui/task_manager/one_task_info.h>
#include <gui/task_manager/tasklist_actions.h>

namespace tfs::gui {

/// Belongs to one list model. Conversion may ask the service for statistics and so blocks at most for a call's
/// deadline; it keeps no state, so that both the model's thread and its subscription's may convert.
class TaskConverter {
public:
    /// In scan mode rows carry the statistics of their last run.
    static OneTaskInfo ToOneTaskInfo(ulk::IServiceLocator* remoteSl, const TaskInfo& task, bool scanTasksMode);

    /// When the task last ran, as seen now: "Never run", "Running, started 5 minutes ago", "Last scan: 1 day ago".
    static QString Summary(const TaskInfo& task);

private:
    static void FillTaskStatisticsInfo(ulk::IServiceLocator* remoteSl, OneTaskInfo& row);
};

} // namespace tfs::gui
