// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/remoting/proxies.h>
#include <wire/settings_records.h>
#include <wire/task_records.h>
#include <wire/text.h>

#include <string>

namespace ulk::remoting {
namespace {

using tfs::wire::AsData;
using types::string16_t;

/// A request of the given kind with the task's id or name in it.
template <class MakeRequest>
auto NamingTask(const string16_t& idOrName, MakeRequest makeRequest) {
    return [name = std::u16string(idOrName), makeRequest](auto& client) {
        auto request = makeRequest(client);
        request.setTask(AsData(name));
        return request;
    };
}

/// The same with a change of the task's settings or schedule.
template <class MakeRequest>
auto ChangingTask(const string16_t& idOrName, const tfs::settings::SettingsChangeList& changes, bool toDefault,
                  MakeRequest makeRequest) {
    return [name = std::u16string(idOrName), changes = changes, toDefault, makeRequest](auto& client) {
        auto request = makeRequest(client);
        request.setTask(AsData(name));
        tfs::wire::Write(changes, request.initChanges());
        request.setToDefault(toDefault);
        return request;
    };
}

constexpr auto ReadMessages = [](auto& answer, auto& messages) { tfs::wire::ReadList(answer.getMessages(), messages); };

} // namespace

result_t TaskManagerProxy::GetTaskList(types::vector_t<tfs::core::TaskInfo>& tasks) {
    return Call(
        tasks, [](auto& client) { return client.getTaskListRequest(); },
        [](auto& answer, auto& records) { tfs::wire::ReadList(answer.getTasks(), records); });
}

result_t TaskManagerProxy::GetStatistics(types::vector_t<tfs::OxsStatistic>& statistics) {
    return Call(
        statistics, [](auto& client) { return client.getStatisticsRequest(); },
        [](auto& answer, auto& records) { tfs::wire::ReadList(answer.getStatistics(), records); });
}

result_t TaskManagerProxy::GetStatistic(const string16_t& taskName, tfs::OxsStatistic& statistics) {
    return Call(
        statistics,
        [name = std::u16string(taskName)](auto& client) {
            auto request = client.getStatisticRequest();
            request.setTaskName(AsData(name));
            return request;
        },
        [](auto& answer, auto& record) { tfs::wire::Read(answer.getStatistic(), record); });
}

result_t TaskManagerProxy::GetOdsStatistics(tfs::ScanStatistic& statistic) {
    return Call(
        statistic, [](auto& client) { return client.getOdsStatisticsRequest(); },
        [](auto& answer, auto& record) { tfs::wire::Read(answer.getStatistic(), record); });
}

result_t TaskManagerProxy::StartTask(const string16_t& idOrName) {
    return Call(NamingTask(idOrName, [](auto& client) { return client.startTaskRequest(); }));
}

result_t TaskManagerProxy::StopTask(const string16_t& idOrName) {
    return Call(NamingTask(idOrName, [](auto& client) { return client.stopTaskRequest(); }));
}

result_t TaskManagerProxy::PauseTask(const string16_t& idOrName) {
    return Call(NamingTask(idOrName, [](auto& client) { return client.pauseTaskRequest(); }));
}

result_t TaskManagerProxy::ResumeTask(const string16_t& idOrName) {
    return Call(NamingTask(idOrName, [](auto& client) { return client.resumeTaskRequest(); }));
}

result_t TaskManagerProxy::DeleteTask(const string16_t& taskName) {
    return Call(NamingTask(taskName, [](auto& client) { return client.deleteTaskRequest(); }));
}

result_t TaskManagerProxy::DeleteStatistic(const tfs::OxsStatistic& statistics) {
    return Call([statistics = statistics](auto& client) {
        auto request = client.deleteStatisticRequest();
        tfs::wire::Write(statistics, request.initStatistic());
        return request;
    });
}

result_t TaskManagerProxy::GetSchedule(const string16_t& taskName, tfs::TaskSchedule& schedule) {
    return Call(
        schedule,
        [name = std::u16string(taskName)](auto& client) {
            auto request = client.getScheduleRequest();
            request.setTaskName(AsData(name));
            return request;
        },
        [](auto& answer, auto& record) { tfs::wire::Read(answer.getSchedule(), record); });
}

result_t TaskManagerProxy::GetTaskInfo(const string16_t& idOrName, tfs::core::TaskInfo& task) {
    return Call(task, NamingTask(idOrName, [](auto& client) { return client.getTaskInfoRequest(); }),
                [](auto& answer, auto& record) { tfs::wire::Read(answer.getInfo(), record); });
}

result_t TaskManagerProxy::CreateScanTask(const tfs::ScanSettings& settings, tfs::core::TaskInfo& task) {
    return Call(
        task,
        [settings = settings](auto& client) {
            auto request = client.createScanTaskRequest();
            tfs::wire::Write(settings, request.initSettings());
            return request;
        },
        [](auto& answer, auto& record) { tfs::wire::Read(answer.getInfo(), record); });
}

result_t TaskManagerProxy::GetProgress(const string16_t& idOrName, tfs::TaskProgress& progress) {
    return Call(progress, NamingTask(idOrName, [](auto& client) { return client.getProgressRequest(); }),
                [](auto& answer, auto& record) { tfs::wire::Read(answer.getProgress(), record); });
}

result_t TaskManagerProxy::GetTaskSettings(const string16_t& idOrName, tfs::settings::SettingsChangeList& settings) {
    return Call(settings, NamingTask(idOrName, [](auto& client) { return client.getTaskSettingsRequest(); }),
                [](auto& answer, auto& record) { tfs::wire::Read(answer.getSettings(), record); });
}

result_t TaskManagerProxy::SetTaskSettings(const string16_t& idOrName, const tfs::settings::SettingsChangeList& changes,
                                           bool toDefault,
                                           types::vector_t<tfs::settings::ValidationMessage>& messages) {
    return Call(
        messages,
        ChangingTask(idOrName, changes, toDefault, [](auto& client) { return client.setTaskSettingsRequest(); }),
        ReadMessages, Payload::OfEveryCode);
}

result_t TaskManagerProxy::SetSchedule(const string16_t& idOrName, const tfs::settings::SettingsChangeList& changes,
                                       bool toDefault, types::vector_t<tfs::settings::ValidationMessage>& messages) {
    return Call(messages,
                ChangingTask(idOrName, changes, toDefault, [](auto& client) { return client.setScheduleRequest(); }),
                ReadMessages, Payload::OfEveryCode);
}

} // namespace ulk::remoting
