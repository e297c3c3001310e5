// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <foundation/objclient.h>
#include <gui/app_info/app_info_reader.h>
#include <gui/common/application.h>
#include <gui/common/elapsed_time.h>
#include <gui/common/localized_text.h>
#include <gui/protection_info/databases_state.h>
#include <gui/protection_info/protection_state_info_provider.h>
#include <tfs_common/overview/device_state.h>

#include <algorithm>

namespace tfs::gui {
namespace {

namespace entry = tfs::localization::entry;
using tfs::types::TaskState;

ulk::ITracer* Tracer() noexcept { return application::GetTracer(); }

bool IsStarted(const TaskInfo& task) { return overview::IsStarted(task.core); }

} // namespace

void AppInfoReader::Read(ulk::IServiceLocator* remoteSl, AppInfoValues& values, CurrentDangerInfo& danger) {
    UpdateLicenseInfo(values);
    UpdateOASState(remoteSl, danger);
    UpdateTasksInfo(remoteSl, values, danger);
    UpdateBackupInfo(remoteSl, danger);
    UpdateTaskAvailabilityInfo(remoteSl, values);
}

void AppInfoReader::UpdateLicenseInfo(AppInfoValues& values) {
    // Nothing licenses this build, so there is no state to show.
    values.licenseStatus.clear();
}

TaskInfo AppInfoReader::GetTask(ulk::IServiceLocator* remoteSl, FixedTaskId id) {
    TaskInfo task;
    const result_t result = ProtectionStateInfoProvider().GetTaskState(remoteSl, id, task);
    if (result == ulk::eNotFound) { // a service that can't do its work doesn't list it
        task = TaskInfo();
        task.core.state = TaskState::Unknown;
        return task;
    }
    ULK_CHECK_THROW(result, "Error while taking task info");
    return task;
}

void AppInfoReader::UpdateOASState(ulk::IServiceLocator* remoteSl, CurrentDangerInfo& danger) {
    const TaskInfo task = GetTask(remoteSl, FixedTaskId::FileMonitoring);
    ULK_TRACE(Tracer(), ulk::level::Detail) << "OAS Task State = " << static_cast<std::int32_t>(task.core.state);
    if (!IsStarted(task))
        danger.Add(Danger::Critical);
}

void AppInfoReader::UpdateTasksInfo(ulk::IServiceLocator* remoteSl, AppInfoValues& values, CurrentDangerInfo& danger) {
    ulk::Ptr<IAppInfoProvider> appInfoProvider;
    ULK_CHECK_THROW(ulk::GetInterface(remoteSl, appInfoProvider.Ref()), "Cannot get IAppInfoProvider");
    AppInfo appInfo;
    ULK_CHECK_THROW(appInfoProvider->GetAppInfo(appInfo), "Cannot get application info");
    UpdateScanLine(remoteSl, appInfo, values, danger);
    UpdateUpdateLine(remoteSl, appInfo, values);
    UpdateDatabases(appInfo, values, danger);
    if (overview::RecommendsRestart(appInfo.applicationUpdateState))
        danger.Add(Danger::OK);
}

void AppInfoReader::UpdateScanLine(ulk::IServiceLocator* remoteSl, const AppInfo& appInfo, AppInfoValues& values,
                                   CurrentDangerInfo& danger) {
    const TaskInfo task = GetTask(remoteSl, FixedTaskId::FullScan);
    if (!IsStarted(task) && appInfo.lastMyCompScanTime == 0) {
        danger.Add(Danger::OK);
        values.infoLastScanTime = LocalizedText(entry::GuiMainNeverRunScanTaskSummary);
        return;
    }
    UpdateScanResult(remoteSl, values);
    if (IsStarted(task))
        values.infoLastScanTime =
            LocalizedFormat(entry::GuiStartedTaskSummary, TimeAgoTextFromSeconds(task.core.startTime));
    else
        values.infoLastScanTime =
            LocalizedFormat(entry::GuiMainLastRunScanTask, TimeAgoTextFromSeconds(appInfo.lastMyCompScanTime));
}

void AppInfoReader::UpdateScanResult(ulk::IServiceLocator* remoteSl, AppInfoValues& values) {
    const ulk::types::string16_t taskName = task_name::FullScan;
    OxsStatistic statistics;
    if (!ULK_SUCCEEDED(m_actions.GetTaskStatistics(remoteSl, taskName, statistics))) {
        ULK_TRACE(Tracer(), ulk::level::Failure) << "Error while taking task statistics for " << taskName;
        return;
    }
    values.infoScanResultIsError = statistics.scan.threatsFound > 0;
    values.infoLastScanResult =
        LocalizedText(values.infoScanResultIsError ? entry::GuiTaskResultDetect : entry::GuiTaskResultOk);
}

void AppInfoReader::UpdateUpdateLine(ulk::IServiceLocator* remoteSl, const AppInfo& appInfo, AppInfoValues& values) {
    const TaskInfo task = GetTask(remoteSl, FixedTaskId::Update);
    if (IsStarted(task)) {
        values.infoLastUpdateTime =
            LocalizedFormat(entry::GuiStartedTaskSummary, TimeAgoTextFromSeconds(task.core.startTime));
        return;
    }
    if (appInfo.lastUpdateTime == 0 && !appInfo.avBasesLoaded) {
        values.infoLastUpdateTime = LocalizedText(entry::GuiMainNeverRunUpdateTaskSummary);
        return;
    }
    const std::int64_t moment = appInfo.lastUpdateTime != 0 ? appInfo.lastUpdateTime : appInfo.avBasesDate;
    values.infoLastUpdateTime = LocalizedFormat(entry::GuiMainLastRunUpdateTask, TimeAgoText(moment));
}

void AppInfoReader::UpdateDatabases(const AppInfo& appInfo, AppInfoValues& values, CurrentDangerInfo& danger) {
    const DatabasesState state = ClassifyDatabases(appInfo);
    values.infoDatabasesIsError = state != DatabasesState::UpToDate;
    switch (state) {
    case DatabasesState::UpToDate:
        values.infoDatabasesState = LocalizedText(entry::GuiAppInfoAVBasesAreUpToDate);
        break;
    case DatabasesState::NotLoaded:
        values.infoDatabasesState = LocalizedText(entry::GuiMainAVBasesEmptyError);
        danger.Add(Danger::Critical);
        break;
    case DatabasesState::OutOfDate:
        values.infoDatabasesState = LocalizedText(entry::GuiAppInfoAVBasesAreOutOfDate);
        danger.Add(Danger::Warning);
        break;
    case DatabasesState::TotallyOutOfDate:
        values.infoDatabasesState = LocalizedText(entry::GuiAppInfoAVBasesAreTotallyOutOfDate);
        danger.Add(Danger::Critical);
        break;
    }
}

void AppInfoReader::UpdateBackupInfo(ulk::IServiceLocator* remoteSl, CurrentDangerInfo& danger) {
    std::uint32_t percentage = 0;
    if (!ULK_SUCCEEDED(m_backupFill(remoteSl, percentage)) || percentage < overview::AlmostFullStorage)
        return;
    ULK_TRACE(Tracer(), ulk::level::Detail) << "Storage limit is reached";
    danger.Add(Danger::Warning);
}

void AppInfoReader::UpdateTaskAvailabilityInfo(ulk::IServiceLocator* remoteSl, AppInfoValues& values) {
    ulk::types::vector_t<TaskInfo> scans;
    ulk::types::vector_t<TaskInfo> updates;
    m_actions.GetScanTaskList(remoteSl, scans);
    m_actions.GetUpdateTaskList(remoteSl, updates);
    values.updateInfoAvailable = !updates.empty();
    values.scanInfoAvailable = std::any_of(scans.begin(), scans.end(), [](const TaskInfo& task) {
        const bool isCustomScan = task.core.taskId == static_cast<std::uint64_t>(FixedTaskId::CustomScan);
        const bool isFinished = task.core.isTemporary && task.core.state == TaskState::Stopped;
        return !isCustomScan && !isFinished;
    });
    ULK_TRACE(Tracer(), ulk::level::Detail) << "Update general info availability. "
                                            << "Scan tasks: " << values.scanInfoAvailable << ", "
                                            << "Update tasks: " << values.updateInfoAvailable;
}

} // namespace tfs::gui
