// SPDX-License-Identifier: GPL-2.0-or-later
// What the remote interfaces may ask of the service's areas.
#pragma once

#include <contract/tfs/app_info.h>
#include <contract/tfs/event.h>
#include <contract/tfs/settings.h>
#include <contract/tfs/tasks.h>

#include <string>
#include <sys/types.h>
#include <vector>

namespace tfs::service::rpc {

/// Who calls. uid and the administrator's right are read once, when the connection is accepted.
struct Caller {
    uid_t uid = 0;
    bool isAdministrator = false;
    pid_t pid = 0; ///< of the connector at connect time; for the trace only, never for a decision
};

/// Implemented by the service's application object over its areas. Called on the RPC loop thread: answers from
/// memory, never waits and never touches the disk. Throws nothing; every failure is a code.
/// `rpc` has authorised the call by the method's privilege before; ownership of an object is tested here.
class IServiceApi {
public:
    virtual ~IServiceApi() = default;

    virtual result_t GetAppInfo(AppInfo& appInfo) noexcept = 0;
    virtual result_t GetAppSettings(tfs::settings::AppSettings& settings) noexcept = 0;
    /// May this user read what happened to others? False too where it can't be told.
    virtual bool AreReportsAllowed(const Caller& caller) noexcept = 0;
    virtual result_t GetPolicy(PolicyState& state) noexcept = 0;
    virtual result_t IsUserManageTasksAllowed(bool& localTasks, bool& groupTasks) noexcept = 0;
    virtual result_t CanBeStarted(const Caller& caller, const std::u16string& taskName, bool& allowed) noexcept = 0;
    virtual result_t CanBeStopped(const Caller& caller, const std::u16string& taskName, bool& allowed) noexcept = 0;

    virtual result_t GetTaskList(std::vector<core::TaskInfo>& tasks) noexcept = 0;
    virtual result_t GetTaskInfo(const std::u16string& idOrName, core::TaskInfo& task) noexcept = 0;
    virtual result_t GetStatistics(std::vector<OxsStatistic>& statistics) noexcept = 0;
    virtual result_t GetStatistic(const std::u16string& taskName, OxsStatistic& statistic) noexcept = 0;
    virtual result_t GetOdsStatistics(ScanStatistic& statistic) noexcept = 0;
    virtual result_t GetSchedule(const std::u16string& taskName, TaskSchedule& schedule) noexcept = 0;
    virtual result_t StartTask(const Caller& caller, const std::u16string& idOrName) noexcept = 0;
    virtual result_t StopTask(const Caller& caller, const std::u16string& idOrName) noexcept = 0;
    virtual result_t PauseTask(const Caller& caller, const std::u16string& idOrName) noexcept = 0;
    virtual result_t ResumeTask(const Caller& caller, const std::u16string& idOrName) noexcept = 0;
    virtual result_t DeleteTask(const Caller& caller, const std::u16string& taskName) noexcept = 0;
    virtual result_t DeleteStatistic(const Caller& caller, const OxsStatistic& statistic) noexcept = 0;
    virtual result_t CreateScanTask(const Caller& caller, const ScanSettings& settings,
                                    core::TaskInfo& task) noexcept = 0;
    virtual result_t GetProgress(const std::u16string& idOrName, TaskProgress& progress) noexcept = 0;
    virtual result_t GetTaskSettings(const std::u16string& idOrName,
                                     tfs::settings::SettingsChangeList& settings) noexcept = 0;
};

} // namespace tfs::service::rpc
