// SPDX-License-Identifier: GPL-2.0-or-later
// The one facade through which the window reads and drives the service's tasks.
#pragma once

#include <foundation/object.h>
#include <gui/task_manager/task_info.h>
#include <gui/task_manager/task_match.h>

#include <string>

namespace tfs::gui {

/// Every operation takes the remote locator, blocks at most for the deadline of the calls that it makes, and returns
/// a code; a failure has been traced. Not locked: each owner has an instance of his own and uses it from one thread
/// at a time.
class OnDemandTaskListActions {
public:
    result_t GetOnDemandTasksStatistic(ulk::IServiceLocator* remoteSl, ScanStatistic& statistic);
    result_t GetTaskStatistics(ulk::IServiceLocator* remoteSl, const ulk::types::string16_t& taskName,
                               OxsStatistic& statistics);

    /// Answer when the service has taken the command; the rest is told by events.
    result_t StartTask(ulk::IServiceLocator* remoteSl, const std::string& idOrName);
    result_t StopTask(ulk::IServiceLocator* remoteSl, const std::string& idOrName);
    result_t PauseTask(ulk::IServiceLocator* remoteSl, const std::string& idOrName);
    result_t ResumeTask(ulk::IServiceLocator* remoteSl, const std::string& idOrName);
    /// Task first, statistics second; the first failure ends it.
    result_t DeleteTask(ulk::IServiceLocator* remoteSl, const TaskInfo& task);

    /// Tasks and orphaned statistics that match, ascending by identifier.
    result_t GetTaskList(ulk::IServiceLocator* remoteSl, const MatchFunction& match,
                         ulk::types::vector_t<TaskInfo>& tasks);
    /// On a failure these three give the list of the last success and sFalse: callers see old data and carry on.
    result_t GetScanTaskList(ulk::IServiceLocator* remoteSl, ulk::types::vector_t<TaskInfo>& tasks);
    result_t GetUpdateTaskList(ulk::IServiceLocator* remoteSl, ulk::types::vector_t<TaskInfo>& tasks);
    result_t GetMonitoringTaskList(ulk::IServiceLocator* remoteSl, ulk::types::vector_t<std::uint64_t>& ids);
    /// A task by identifier or name; eNotFound where the service has answered and there is none.
    result_t GetTaskInfo(ulk::IServiceLocator* remoteSl, const std::string& idOrName, TaskInfo& task);

private:
    using Command = result_t (ITfsTaskManager::*)(const ulk::types::string16_t&);

    result_t GetTaskManager(ulk::IServiceLocator* remoteSl, ulk::Ptr<ITfsTaskManager>& taskManager);
    result_t Drive(ulk::IServiceLocator* remoteSl, const std::string& idOrName, Command command, const char* attempt,
                   const char* failure);
    result_t DeleteStatistics(ITfsTaskManager& taskManager, const TaskInfo& task);
    result_t TryGetTaskList(ulk::IServiceLocator* remoteSl, const MatchFunction& match,
                            ulk::types::vector_t<TaskInfo>& tasks) noexcept;
    result_t GetListOrPrevious(const char* caller, ulk::IServiceLocator* remoteSl, const MatchFunction& match,
                               ulk::types::vector_t<TaskInfo>& previous, ulk::types::vector_t<TaskInfo>& tasks);

    ulk::types::vector_t<TaskInfo> m_scanTasks;
    ulk::types::vector_t<TaskInfo> m_updateTasks;
    ulk::types::vector_t<std::uint64_t> m_monitoringTasks;
};

} // namespace tfs::gui
