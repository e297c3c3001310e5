// SPDX-License-Identifier: GPL-2.0-or-later
// Asks the service for all that the main page shows.
#pragma once

#include <contract/tfs/app_info.h>
#include <foundation/object.h>
#include <gui/app_info/app_info_values.h>
#include <gui/app_info/current_danger_info.h>
#include <gui/task_manager/tasklist_actions.h>

#include <cstdint>
#include <functional>

namespace tfs::gui {

/// Owned by one AppInfoModel and used on its thread; keeps the last good lists of tasks between refreshes.
class AppInfoReader {
public:
    /// Percentage of Storage in use, at once.
    using BackupFill = std::function<result_t(ulk::IServiceLocator*, std::uint32_t& percentage)>;

    explicit AppInfoReader(BackupFill backupFill) : m_backupFill(std::move(backupFill)) {}

    /// One refresh. Steps that fail throw; what earlier steps found stays in `values` and `danger`.
    void Read(ulk::IServiceLocator* remoteSl, AppInfoValues& values, CurrentDangerInfo& danger);

private:
    void UpdateLicenseInfo(AppInfoValues& values);
    void UpdateOASState(ulk::IServiceLocator* remoteSl, CurrentDangerInfo& danger);
    void UpdateTasksInfo(ulk::IServiceLocator* remoteSl, AppInfoValues& values, CurrentDangerInfo& danger);
    void UpdateScanLine(ulk::IServiceLocator* remoteSl, const AppInfo& appInfo, AppInfoValues& values,
                        CurrentDangerInfo& danger);
    void UpdateScanResult(ulk::IServiceLocator* remoteSl, AppInfoValues& values);
    void UpdateUpdateLine(ulk::IServiceLocator* remoteSl, const AppInfo& appInfo, AppInfoValues& values);
    void UpdateDatabases(const AppInfo& appInfo, AppInfoValues& values, CurrentDangerInfo& danger);
    void UpdateBackupInfo(ulk::IServiceLocator* remoteSl, CurrentDangerInfo& danger);
    void UpdateTaskAvailabilityInfo(ulk::IServiceLocator* remoteSl, AppInfoValues& values);
    /// A task that the service doesn't list counts as one that isn't started.
    TaskInfo GetTask(ulk::IServiceLocator* remoteSl, FixedTaskId id);

    BackupFill m_backupFill;
    OnDemandTaskListActions m_actions;
};

} // namespace tfs::gui
