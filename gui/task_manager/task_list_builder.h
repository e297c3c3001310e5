// SPDX-License-Identifier: GPL-2.0-or-later
// Merges the service's tasks and statistics into one list of rows and decides what this user may do.
#pragma once

#include <contract/tfs/app_info.h>
#include <foundation/trace.h>
#include <gui/task_manager/task_info.h>
#include <gui/task_manager/task_match.h>

#include <map>

namespace tfs::gui {

/// Built for one GetTaskList call, on the caller's thread.
class TaskListBuilder {
public:
    /// The policy flags are read from the service, false where they can't be. Everything must outlive the builder.
    /// Without a policy provider nothing may be built.
    TaskListBuilder(ulk::ITracer* tracer, ITfsTaskManager* taskManager, IPolicyProvider* policyProvider);

    /// Appends a row for each task that matches, then one for each record of statistics whose task is gone and that
    /// matches; sorts by identifier.
    void Build(const ulk::types::vector_t<tfs::core::TaskInfo>& tasks,
               const ulk::types::vector_t<OxsStatistic>& statistics, const MatchFunction& match,
               ulk::types::vector_t<TaskInfo>& result);

private:
    TaskInfo LiveTask(TaskInfo task);
    void ReadSchedule(TaskInfo& task);
    void DecidePermissions(TaskInfo& task);
    bool ReadPolicy(const ulk::types::string16_t& taskName, const char* failure,
                    result_t (IPolicyProvider::*read)(const ulk::types::string16_t&, bool&));

    ulk::ITracer* m_tracer;
    ITfsTaskManager* m_taskManager;
    IPolicyProvider* m_policyProvider;
    bool m_allowUserManageLocalTasks = false;
    bool m_allowUserManageGroupTasks = false;
};

/// The row of statistics that outlived their task, stopped at the time of the record or now where it has none.
TaskInfo TaskFromStatistics(const OxsStatistic& statistics);

} // namespace tfs::gui
