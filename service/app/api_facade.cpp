// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app/api_facade.h>
#include <service/app/guarded.h>
#include <service/app/reports_allowed.h>

namespace tfs::service::app {

result_t ApiFacade::GetAppInfo(AppInfo& appInfo) noexcept {
    return Guarded([&] {
        const scan::ScannerState state = m_scanner.State();
        appInfo = AppInfo();
        m_info.Fill(appInfo);
        core::TaskInfo monitoring;
        appInfo.isOASEnabled = ULK_SUCCEEDED(m_tasks.GetTaskInfo(task_name::FileMonitoring, monitoring)) &&
                               monitoring.state == types::TaskState::Started;
        appInfo.avBasesLoaded = state.loaded;
        appInfo.avBasesDate = FileTimeTicks(state.basesDate);
        appInfo.lastMyCompScanTime = m_tasks.LastFullScan();
        appInfo.lastUpdateTime = FileTimeTicks(m_tasks.LastUpdate());
        appInfo.isRollbackAvailable = m_bases.IsRollbackAvailable();
        appInfo.avRecordsCount = state.signatures;
        appInfo.applicationVersion = ulk::text::ToUtf16Lossy(TESL_VERSION);
        appInfo.engineVersion = ulk::text::ToUtf16Lossy(state.engineVersion);
        appInfo.scannerWorkers = state.workers;
        return ulk::sOk;
    });
}

result_t ApiFacade::GetAppSettings(tfs::settings::AppSettings& appSettings) noexcept {
    return Guarded([&] {
        appSettings = m_settings.Current()->application;
        return ulk::sOk;
    });
}

bool ApiFacade::AreReportsAllowed(const rpc::Caller& caller) noexcept { return ReportsAllowed(m_settings, caller); }

result_t ApiFacade::GetPolicy(PolicyState& state) noexcept {
    return Guarded([&] {
        const auto current = m_settings.Current();
        state.name = ulk::text::ToUtf16Lossy(current->policyName);
        return current->isUnderPolicy ? ulk::sOk : ulk::sFalse;
    });
}

result_t ApiFacade::IsUserManageTasksAllowed(bool& localTasks, bool& groupTasks) noexcept {
    const auto current = m_settings.Current();
    localTasks = current->allowUserManageLocalTasks;
    groupTasks = current->allowUserManageGroupTasks;
    return ulk::sOk;
}

result_t ApiFacade::CanBeStarted(const rpc::Caller& caller, const std::u16string& taskName, bool& allowed) noexcept {
    return Guarded([&] { return m_tasks.MayCommand(caller, taskName, tasks::TaskCommand::Start, allowed); });
}

result_t ApiFacade::CanBeStopped(const rpc::Caller& caller, const std::u16string& taskName, bool& allowed) noexcept {
    return Guarded([&] { return m_tasks.MayCommand(caller, taskName, tasks::TaskCommand::Stop, allowed); });
}

result_t ApiFacade::GetTaskList(std::vector<core::TaskInfo>& list) noexcept {
    return Guarded([&] {
        list = m_tasks.GetTaskList();
        return ulk::sOk;
    });
}

result_t ApiFacade::GetTaskInfo(const std::u16string& idOrName, core::TaskInfo& task) noexcept {
    return Guarded([&] { return m_tasks.GetTaskInfo(idOrName, task); });
}

result_t ApiFacade::GetStatistics(std::vector<OxsStatistic>& statistics) noexcept {
    return Guarded([&] {
        statistics = m_tasks.GetStatistics();
        return ulk::sOk;
    });
}

result_t ApiFacade::GetStatistic(const std::u16string& taskName, OxsStatistic& statistic) noexcept {
    return Guarded([&] { return m_tasks.GetStatistic(taskName, statistic); });
}

result_t ApiFacade::GetOdsStatistics(ScanStatistic& statistic) noexcept {
    return Guarded([&] {
        statistic = m_tasks.GetOdsStatistics();
        return ulk::sOk;
    });
}

result_t ApiFacade::GetSchedule(const std::u16string& taskName, TaskSchedule& schedule) noexcept {
    return Guarded([&] { return m_tasks.GetSchedule(taskName, schedule); });
}

result_t ApiFacade::StartTask(const rpc::Caller& caller, const std::u16string& idOrName) noexcept {
    return Guarded([&] { return m_tasks.Command(caller, idOrName, tasks::TaskCommand::Start); });
}

result_t ApiFacade::StopTask(const rpc::Caller& caller, const std::u16string& idOrName) noexcept {
    return Guarded([&] { return m_tasks.Command(caller, idOrName, tasks::TaskCommand::Stop); });
}

result_t ApiFacade::PauseTask(const rpc::Caller& caller, const std::u16string& idOrName) noexcept {
    return Guarded([&] { return m_tasks.Command(caller, idOrName, tasks::TaskCommand::Pause); });
}

result_t ApiFacade::ResumeTask(const rpc::Caller& caller, const std::u16string& idOrName) noexcept {
    return Guarded([&] { return m_tasks.Command(caller, idOrName, tasks::TaskCommand::Resume); });
}

result_t ApiFacade::DeleteTask(const rpc::Caller& caller, const std::u16string& taskName) noexcept {
    return Guarded([&] { return m_tasks.DeleteTask(caller, taskName); });
}

result_t ApiFacade::DeleteStatistic(const rpc::Caller& caller, const OxsStatistic& statistic) noexcept {
    return Guarded([&] { return m_tasks.DeleteStatistic(caller, statistic); });
}

result_t ApiFacade::CreateScanTask(const rpc::Caller& caller, const ScanSettings& scanSettings,
                                   core::TaskInfo& task) noexcept {
    return Guarded([&] { return m_tasks.CreateScanTask(caller, scanSettings, task); });
}

result_t ApiFacade::GetProgress(const std::u16string& idOrName, TaskProgress& progress) noexcept {
    return Guarded([&] { return m_tasks.GetProgress(idOrName, progress); });
}

result_t ApiFacade::GetTaskSettings(const std::u16string& idOrName,
                                    tfs::settings::SettingsChangeList& settings) noexcept {
    return Guarded([&] { return m_tasks.GetSettings(idOrName, settings); });
}

} // namespace tfs::service::app
