// SPDX-License-Identifier: GPL-2.0-or-later
// Tasks: reads and the making of a custom scan for everybody, commands for those whom the task allows them.
#include <service/rpc/objects.h>
#include <wire/settings_records.h>
#include <wire/task_records.h>
#include <wire/text.h>

#include <algorithm>
#include <linux/limits.h>

namespace tfs::service::rpc {
namespace {

constexpr std::size_t AreasLimit = 4096;

/// A path that the service can look at without guessing what it is relative to.
bool IsPlainPath(const std::string& path) {
    return !path.empty() && path.front() == '/' && path.size() < PATH_MAX && path.find('\0') == std::string::npos;
}

/// A change of a task's settings or schedule. `Change` is the operation of IBlockingApi.
template <class ParamsOfMethod, class ResultsOfMethod, auto Change>
struct ChangeTaskCall {
    using Params = ParamsOfMethod;
    using Results = ResultsOfMethod;

    void Read(typename Params::Reader params) {
        m_task = wire::ReadText(params.getTask());
        wire::Read(params.getChanges(), m_changes);
        m_toDefault = params.getToDefault();
    }
    result_t Run(IBlockingApi& api, const Caller& caller) {
        return (api.*Change)(caller, m_task, m_changes, m_toDefault, m_messages);
    }
    void Write(result_t, typename Results::Builder results) const {
        wire::WriteList(m_messages, results.initMessages(static_cast<capnp::uint>(m_messages.size())));
    }

private:
    std::u16string m_task;
    tfs::settings::SettingsChangeList m_changes;
    bool m_toDefault = false;
    std::vector<tfs::settings::ValidationMessage> m_messages;
};

using TaskManager = wire::schema::TaskManager;
using SetTaskSettingsCall = ChangeTaskCall<TaskManager::SetTaskSettingsParams, TaskManager::SetTaskSettingsResults,
                                           &IBlockingApi::SetTaskSettings>;
using SetScheduleCall =
    ChangeTaskCall<TaskManager::SetScheduleParams, TaskManager::SetScheduleResults, &IBlockingApi::SetSchedule>;

} // namespace

std::span<const Method> TaskManagerObject::Methods() noexcept {
    using Object = TaskManagerObject;
    static constexpr Method Table[] = {
        Method::Of<Schema, &Object::GetTaskList>(0, "getTaskList", Privilege::Anyone),
        Method::Of<Schema, &Object::GetStatistics>(1, "getStatistics", Privilege::Anyone),
        Method::Of<Schema, &Object::GetStatistic>(2, "getStatistic", Privilege::Anyone),
        Method::Of<Schema, &Object::GetOdsStatistics>(3, "getOdsStatistics", Privilege::Anyone),
        Method::Of<Schema, &Object::StartTask>(4, "startTask", Privilege::Owner),
        Method::Of<Schema, &Object::StopTask>(5, "stopTask", Privilege::Owner),
        Method::Of<Schema, &Object::PauseTask>(6, "pauseTask", Privilege::Owner),
        Method::Of<Schema, &Object::ResumeTask>(7, "resumeTask", Privilege::Owner),
        Method::Of<Schema, &Object::DeleteTask>(8, "deleteTask", Privilege::Owner),
        Method::Of<Schema, &Object::DeleteStatistic>(9, "deleteStatistic", Privilege::Owner),
        Method::Of<Schema, &Object::GetSchedule>(10, "getSchedule", Privilege::Anyone),
        Method::Of<Schema, &Object::GetTaskInfo>(11, "getTaskInfo", Privilege::Anyone),
        Method::Of<Schema, &Object::CreateScanTask>(12, "createScanTask", Privilege::Anyone),
        Method::Of<Schema, &Object::GetProgress>(13, "getProgress", Privilege::Anyone),
        Method::Of<Schema, &Object::GetTaskSettings>(14, "getTaskSettings", Privilege::Anyone),
        Method::Blocking<Schema, SetTaskSettingsCall>(15, "setTaskSettings", Privilege::Owner),
        Method::Blocking<Schema, SetScheduleCall>(16, "setSchedule", Privilege::Owner),
    };
    return Table;
}

result_t TaskManagerObject::GetTaskList(Schema::GetTaskListParams::Reader,
                                        Schema::GetTaskListResults::Builder results) {
    std::vector<core::TaskInfo> tasks;
    const result_t result = m_api.GetTaskList(tasks);
    if (ULK_SUCCEEDED(result))
        wire::WriteList(tasks, results.initTasks(static_cast<capnp::uint>(tasks.size())));
    return result;
}

result_t TaskManagerObject::GetStatistics(Schema::GetStatisticsParams::Reader,
                                          Schema::GetStatisticsResults::Builder results) {
    std::vector<OxsStatistic> statistics;
    const result_t result = m_api.GetStatistics(statistics);
    if (ULK_SUCCEEDED(result))
        wire::WriteList(statistics, results.initStatistics(static_cast<capnp::uint>(statistics.size())));
    return result;
}

result_t TaskManagerObject::GetStatistic(Schema::GetStatisticParams::Reader params,
                                         Schema::GetStatisticResults::Builder results) {
    OxsStatistic statistic;
    const result_t result = m_api.GetStatistic(wire::ReadText(params.getTaskName()), statistic);
    if (ULK_SUCCEEDED(result))
        wire::Write(statistic, results.initStatistic());
    return result;
}

result_t TaskManagerObject::GetOdsStatistics(Schema::GetOdsStatisticsParams::Reader,
                                             Schema::GetOdsStatisticsResults::Builder results) {
    ScanStatistic statistic;
    const result_t result = m_api.GetOdsStatistics(statistic);
    if (ULK_SUCCEEDED(result))
        wire::Write(statistic, results.initStatistic());
    return result;
}

result_t TaskManagerObject::StartTask(Schema::StartTaskParams::Reader params, Schema::StartTaskResults::Builder) {
    return m_api.StartTask(GetCaller(), wire::ReadText(params.getTask()));
}

result_t TaskManagerObject::StopTask(Schema::StopTaskParams::Reader params, Schema::StopTaskResults::Builder) {
    return m_api.StopTask(GetCaller(), wire::ReadText(params.getTask()));
}

result_t TaskManagerObject::PauseTask(Schema::PauseTaskParams::Reader params, Schema::PauseTaskResults::Builder) {
    return m_api.PauseTask(GetCaller(), wire::ReadText(params.getTask()));
}

result_t TaskManagerObject::ResumeTask(Schema::ResumeTaskParams::Reader params, Schema::ResumeTaskResults::Builder) {
    return m_api.ResumeTask(GetCaller(), wire::ReadText(params.getTask()));
}

result_t TaskManagerObject::DeleteTask(Schema::DeleteTaskParams::Reader params, Schema::DeleteTaskResults::Builder) {
    return m_api.DeleteTask(GetCaller(), wire::ReadText(params.getTask()));
}

result_t TaskManagerObject::DeleteStatistic(Schema::DeleteStatisticParams::Reader params,
                                            Schema::DeleteStatisticResults::Builder) {
    OxsStatistic statistic;
    wire::Read(params.getStatistic(), statistic);
    return m_api.DeleteStatistic(GetCaller(), statistic);
}

result_t TaskManagerObject::GetSchedule(Schema::GetScheduleParams::Reader params,
                                        Schema::GetScheduleResults::Builder results) {
    TaskSchedule schedule;
    const result_t result = m_api.GetSchedule(wire::ReadText(params.getTaskName()), schedule);
    if (ULK_SUCCEEDED(result))
        wire::Write(schedule, results.initSchedule());
    return result;
}

result_t TaskManagerObject::GetTaskInfo(Schema::GetTaskInfoParams::Reader params,
                                        Schema::GetTaskInfoResults::Builder results) {
    core::TaskInfo task;
    const result_t result = m_api.GetTaskInfo(wire::ReadText(params.getTask()), task);
    if (ULK_SUCCEEDED(result))
        wire::Write(task, results.initInfo());
    return result;
}

result_t TaskManagerObject::CreateScanTask(Schema::CreateScanTaskParams::Reader params,
                                           Schema::CreateScanTaskResults::Builder results) {
    ScanSettings settings;
    wire::Read(params.getSettings(), settings);
    if (settings.areas.empty() || settings.areas.size() > AreasLimit ||
        !std::all_of(settings.areas.begin(), settings.areas.end(), IsPlainPath))
        return ulk::eInvalidArgument;
    core::TaskInfo task;
    const result_t result = m_api.CreateScanTask(GetCaller(), settings, task);
    if (ULK_SUCCEEDED(result))
        wire::Write(task, results.initInfo());
    return result;
}

result_t TaskManagerObject::GetProgress(Schema::GetProgressParams::Reader params,
                                        Schema::GetProgressResults::Builder results) {
    TaskProgress progress;
    const result_t result = m_api.GetProgress(wire::ReadText(params.getTask()), progress);
    if (ULK_SUCCEEDED(result))
        wire::Write(progress, results.initProgress());
    return result;
}

result_t TaskManagerObject::GetTaskSettings(Schema::GetTaskSettingsParams::Reader params,
                                            Schema::GetTaskSettingsResults::Builder results) {
    tfs::settings::SettingsChangeList settings;
    const result_t result = m_api.GetTaskSettings(wire::ReadText(params.getTask()), settings);
    if (ULK_SUCCEEDED(result))
        wire::Write(settings, results.initSettings());
    return result;
}

} // namespace tfs::service::rpc
