// SPDX-License-Identifier: GPL-2.0-or-later
// What the remote interfaces reach of the service: each question goes to the area that knows the answer.
#pragma once

#include <service/app/scanner_host.h>
#include <service/app_info/app_info_keeper.h>
#include <service/rpc/service_api.h>
#include <service/settings/settings_store.h>
#include <service/tasks/task_registry.h>

namespace tfs::service::app {

/// Owned by the application object. Any thread; holds no state of its own.
class ApiFacade final : public rpc::IServiceApi {
public:
    ApiFacade(const settings::SettingsStore& settings, const ScannerHost& scanner, const update::UpdateArea& bases,
              const app_info::AppInfoKeeper& info, tasks::TaskRegistry& tasks)
        : m_settings(settings), m_scanner(scanner), m_bases(bases), m_info(info), m_tasks(tasks) {}

    result_t GetAppInfo(AppInfo& appInfo) noexcept override;
    result_t GetAppSettings(tfs::settings::AppSettings& appSettings) noexcept override;
    bool AreReportsAllowed(const rpc::Caller& caller) noexcept override;
    result_t GetPolicy(PolicyState& state) noexcept override;
    result_t IsUserManageTasksAllowed(bool& localTasks, bool& groupTasks) noexcept override;
    result_t CanBeStarted(const rpc::Caller& caller, const std::u16string& taskName, bool& allowed) noexcept override;
    result_t CanBeStopped(const rpc::Caller& caller, const std::u16string& taskName, bool& allowed) noexcept override;
    result_t GetTaskList(std::vector<core::TaskInfo>& list) noexcept override;
    result_t GetTaskInfo(const std::u16string& idOrName, core::TaskInfo& task) noexcept override;
    result_t GetStatistics(std::vector<OxsStatistic>& statistics) noexcept override;
    result_t GetStatistic(const std::u16string& taskName, OxsStatistic& statistic) noexcept override;
    result_t GetOdsStatistics(ScanStatistic& statistic) noexcept override;
    result_t GetSchedule(const std::u16string& taskName, TaskSchedule& schedule) noexcept override;
    result_t StartTask(const rpc::Caller& caller, const std::u16string& idOrName) noexcept override;
    result_t StopTask(const rpc::Caller& caller, const std::u16string& idOrName) noexcept override;
    result_t PauseTask(const rpc::Caller& caller, const std::u16string& idOrName) noexcept override;
    result_t ResumeTask(const rpc::Caller& caller, const std::u16string& idOrName) noexcept override;
    result_t DeleteTask(const rpc::Caller& caller, const std::u16string& taskName) noexcept override;
    result_t DeleteStatistic(const rpc::Caller& caller, const OxsStatistic& statistic) noexcept override;
    result_t CreateScanTask(const rpc::Caller& caller, const ScanSettings& scanSettings,
                            core::TaskInfo& task) noexcept override;
    result_t GetProgress(const std::u16string& idOrName, TaskProgress& progress) noexcept override;
    result_t GetTaskSettings(const std::u16string& idOrName,
                             tfs::settings::SettingsChangeList& settings) noexcept override;

private:
    const settings::SettingsStore& m_settings;
    const ScannerHost& m_scanner;
    const update::UpdateArea& m_bases;
    const app_info::AppInfoKeeper& m_info;
    tasks::TaskRegistry& m_tasks;
};

} // namespace tfs::service::app
