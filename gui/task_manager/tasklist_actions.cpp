// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <foundation/objclient.h>
#include <gui/common/application.h>
#include <gui/common/exception_text.h>
#include <gui/task_manager/task_list_builder.h>
#include <gui/task_manager/tasklist_actions.h>

#include <stdexcept>

namespace tfs::gui {
namespace {

ulk::ITracer* Tracer() noexcept { return application::GetTracer(); }

} // namespace

result_t OnDemandTaskListActions::GetTaskManager(ulk::IServiceLocator* remoteSl,
                                                 ulk::Ptr<ITfsTaskManager>& taskManager) {
    return ULK_CHECK_TRACE(Tracer(), ulk::GetInterface(remoteSl, taskManager.Ref()),
                           "Cannot get interface ITfsTaskManager");
}

result_t OnDemandTaskListActions::GetOnDemandTasksStatistic(ulk::IServiceLocator* remoteSl, ScanStatistic& statistic) {
    ulk::Ptr<ITfsTaskManager> taskManager;
    if (const result_t result = GetTaskManager(remoteSl, taskManager); !ULK_SUCCEEDED(result))
        return result;
    return ULK_CHECK_TRACE(Tracer(), taskManager->GetOdsStatistics(statistic), "Cannot get OnDemand statistics");
}

result_t OnDemandTaskListActions::GetTaskStatistics(ulk::IServiceLocator* remoteSl,
                                                    const ulk::types::string16_t& taskName, OxsStatistic& statistics) {
    ulk::Ptr<ITfsTaskManager> taskManager;
    if (const result_t result = GetTaskManager(remoteSl, taskManager); !ULK_SUCCEEDED(result))
        return result;
    return ULK_CHECK_TRACE(Tracer(), taskManager->GetStatistic(taskName, statistics),
                           "Cannot get statistics for task " + ulk::text::ToUtf8Lossy(taskName));
}

result_t OnDemandTaskListActions::Drive(ulk::IServiceLocator* remoteSl, const std::string& idOrName, Command command,
                                        const char* attempt, const char* failure) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << attempt << idOrName;
    ulk::Ptr<ITfsTaskManager> taskManager;
    if (const result_t result = GetTaskManager(remoteSl, taskManager); !ULK_SUCCEEDED(result))
        return result;
    const auto text = ulk::text::Cast<ulk::types::string16_t>(std::string_view(idOrName));
    return ULK_CHECK_TRACE(Tracer(), (taskManager.Get()->*command)(text), failure);
}

result_t OnDemandTaskListActions::StartTask(ulk::IServiceLocator* remoteSl, const std::string& idOrName) {
    return Drive(remoteSl, idOrName, &ITfsTaskManager::StartTask, "Try to start task ", "Cannot start task");
}

result_t OnDemandTaskListActions::StopTask(ulk::IServiceLocator* remoteSl, const std::string& idOrName) {
    return Drive(remoteSl, idOrName, &ITfsTaskManager::StopTask, "Try to stop task ", "Cannot stop task");
}

result_t OnDemandTaskListActions::PauseTask(ulk::IServiceLocator* remoteSl, const std::string& idOrName) {
    return Drive(remoteSl, idOrName, &ITfsTaskManager::PauseTask, "Try to pause task ", "Cannot pause task");
}

result_t OnDemandTaskListActions::ResumeTask(ulk::IServiceLocator* remoteSl, const std::string& idOrName) {
    return Drive(remoteSl, idOrName, &ITfsTaskManager::ResumeTask, "Try to resume task ", "Cannot resume task");
}

result_t OnDemandTaskListActions::DeleteTask(ulk::IServiceLocator* remoteSl, const TaskInfo& task) {
    ULK_TRACE(Tracer(), ulk::level::Detail)
        << "Try to delete task " << task.core.taskId << ", hasRemoteTask=" << task.hasRemoteTask
        << ", hasRemoteStatistics=" << task.hasRemoteStatistics;
    ulk::Ptr<ITfsTaskManager> taskManager;
    if (const result_t result = GetTaskManager(remoteSl, taskManager); !ULK_SUCCEEDED(result))
        return result;
    if (task.hasRemoteTask) {
        ULK_TRACE(Tracer(), ulk::level::Detail) << "Deleting task";
        const result_t result =
            ULK_CHECK_TRACE(Tracer(), taskManager->DeleteTask(task.core.taskName), "Cannot delete task");
        if (!ULK_SUCCEEDED(result))
            return result;
    }
    return task.hasRemoteStatistics ? DeleteStatistics(*taskManager, task) : ulk::sOk;
}

result_t OnDemandTaskListActions::DeleteStatistics(ITfsTaskManager& taskManager, const TaskInfo& task) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << "Deleting statistics";
    if (!task.statistics) {
        ULK_TRACE(Tracer(), ulk::level::Failure) << "No local statistics copy, cannot remove remote!";
        return ulk::eUnspecified;
    }
    return ULK_CHECK_TRACE(Tracer(), taskManager.DeleteStatistic(*task.statistics), "Cannot delete statistics");
}

result_t OnDemandTaskListActions::GetTaskList(ulk::IServiceLocator* remoteSl, const MatchFunction& match,
                                              ulk::types::vector_t<TaskInfo>& tasks) {
    tasks.clear();
    ulk::Ptr<ITfsTaskManager> taskManager;
    if (const result_t result = GetTaskManager(remoteSl, taskManager); !ULK_SUCCEEDED(result))
        return result;
    ulk::types::vector_t<tfs::core::TaskInfo> fullTaskList;
    result_t result =
        ULK_CHECK_TRACE(Tracer(), taskManager->GetTaskList(fullTaskList), "Error while taking task list.");
    if (!ULK_SUCCEEDED(result))
        return result;
    ulk::types::vector_t<OxsStatistic> statistics;
    result = ULK_CHECK_TRACE(Tracer(), taskManager->GetStatistics(statistics), "Error while taking statistics list.");
    if (!ULK_SUCCEEDED(result))
        return result;
    ulk::Ptr<IPolicyProvider> policyProvider;
    const result_t policyLookup = ulk::GetInterface(remoteSl, policyProvider.Ref());
    TaskListBuilder builder(Tracer(), taskManager.Get(), policyProvider.Get());
    result = ULK_CHECK_TRACE(Tracer(), policyLookup, "Cannot get interface IPolicyProvider");
    if (!ULK_SUCCEEDED(result))
        return result;
    builder.Build(fullTaskList, statistics, match, tasks);
    return ulk::sOk;
}

result_t OnDemandTaskListActions::TryGetTaskList(ulk::IServiceLocator* remoteSl, const MatchFunction& match,
                                                 ulk::types::vector_t<TaskInfo>& tasks) noexcept {
    try {
        return GetTaskList(remoteSl, match, tasks);
    }
    GUI_CATCH_ALL
    return ulk::eUnspecified;
}

result_t OnDemandTaskListActions::GetListOrPrevious(const char* caller, ulk::IServiceLocator* remoteSl,
                                                    const MatchFunction& match,
                                                    ulk::types::vector_t<TaskInfo>& previous,
                                                    ulk::types::vector_t<TaskInfo>& tasks) {
    const result_t result = ULK_CHECK_TRACE(Tracer(), TryGetTaskList(remoteSl, match, tasks),
                                            std::string(caller) + " cannot get task list, use previous value");
    if (ULK_SUCCEEDED(result)) {
        previous = tasks;
        return ulk::sOk;
    }
    tasks = previous;
    return ulk::sFalse;
}

result_t OnDemandTaskListActions::GetScanTaskList(ulk::IServiceLocator* remoteSl,
                                                  ulk::types::vector_t<TaskInfo>& tasks) {
    return GetListOrPrevious("GetScanTaskList", remoteSl, IsTaskByType(ScanTaskTypes()), m_scanTasks, tasks);
}

result_t OnDemandTaskListActions::GetUpdateTaskList(ulk::IServiceLocator* remoteSl,
                                                    ulk::types::vector_t<TaskInfo>& tasks) {
    return GetListOrPrevious("GetUpdateTaskList", remoteSl, IsTaskByType(UpdateTaskTypes()), m_updateTasks, tasks);
}

result_t OnDemandTaskListActions::GetMonitoringTaskList(ulk::IServiceLocator* remoteSl,
                                                        ulk::types::vector_t<std::uint64_t>& ids) {
    const auto isMonitoring = [](const TaskInfo& task) {
        return ScanTaskTypes().count(task.core.taskType) == 0 && UpdateTaskTypes().count(task.core.taskType) == 0;
    };
    ulk::types::vector_t<TaskInfo> previous;
    ulk::types::vector_t<TaskInfo> tasks;
    const result_t result = GetListOrPrevious("GetMonitoringTaskList", remoteSl, isMonitoring, previous, tasks);
    if (result == ulk::sOk) {
        m_monitoringTasks.clear();
        for (const TaskInfo& task : tasks)
            m_monitoringTasks.push_back(task.core.taskId);
    }
    ids = m_monitoringTasks;
    return result;
}

result_t OnDemandTaskListActions::GetTaskInfo(ulk::IServiceLocator* remoteSl, const std::string& idOrName,
                                              TaskInfo& task) {
    try {
        ulk::types::vector_t<TaskInfo> found;
        const result_t result = ULK_CHECK_TRACE(Tracer(), GetTaskList(remoteSl, IsTaskByTaskIdOrName(idOrName), found),
                                                "GetTaskInfo() cannot get task settings");
        if (!ULK_SUCCEEDED(result))
            return result;
        if (found.size() > 1) {
            ULK_TRACE(Tracer(), ulk::level::Failure) << "GetTaskInfo(" << idOrName << ", ...) found " << found.size()
                                                     << " tasks, try to return the first one";
        }
        if (found.empty())
            throw std::out_of_range("ulk::types::vector_t::at()");
        task = std::move(found.front());
        return ulk::sOk;
    } catch (const std::out_of_range&) {
        TraceCurrentException(__PRETTY_FUNCTION__);
        return ulk::eNotFound;
    }
    GUI_CATCH_ALL
    return ulk::eUnspecified;
}

} // namespace tfs::gui
