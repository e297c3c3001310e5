// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/datetime.h>
#include <tfs_common/databases_state.h>
#include <tfs_common/elapsed_time.h>
#include <tfs_common/overview/overview.h>
#include <tfs_common/translator.h>

namespace tfs::overview {
namespace {

namespace entry = localization::entry;
using localization::GetLocalizedString;

std::string Line(std::uint32_t frame, std::int64_t momentTicks, std::int64_t nowTicks) {
    return localization::Format(GetLocalizedString(frame), localization::TimeAgoText(momentTicks, nowTicks));
}

std::string LineFromSeconds(std::uint32_t frame, std::int64_t seconds, std::int64_t nowTicks) {
    return Line(frame, ulk::datetime::TicksFromSeconds(seconds), nowTicks);
}

void DescribeScan(const DeviceState& device, Overview& overview, DangerSum& danger) {
    if (!IsStarted(device.fullScan) && device.appInfo.lastMyCompScanTime == 0) {
        danger.Add(Danger::OK);
        overview.lastScan = GetLocalizedString(entry::GuiMainNeverRunScanTaskSummary);
        return;
    }
    if (device.lastFullScan) {
        overview.lastScanIsError = device.lastFullScan->scan.threatsFound > 0;
        overview.lastScanResult =
            GetLocalizedString(overview.lastScanIsError ? entry::GuiTaskResultDetect : entry::GuiTaskResultOk);
    }
    overview.lastScan =
        IsStarted(device.fullScan)
            ? LineFromSeconds(entry::GuiStartedTaskSummary, device.fullScan.startTime, device.nowTicks)
            : LineFromSeconds(entry::GuiMainLastRunScanTask, device.appInfo.lastMyCompScanTime, device.nowTicks);
}

std::string DescribeUpdate(const DeviceState& device) {
    const AppInfo& appInfo = device.appInfo;
    if (IsStarted(device.update))
        return LineFromSeconds(entry::GuiStartedTaskSummary, device.update.startTime, device.nowTicks);
    if (appInfo.lastUpdateTime == 0 && !appInfo.avBasesLoaded)
        return GetLocalizedString(entry::GuiMainNeverRunUpdateTaskSummary);
    return Line(entry::GuiMainLastRunUpdateTask,
                appInfo.lastUpdateTime != 0 ? appInfo.lastUpdateTime : appInfo.avBasesDate, device.nowTicks);
}

void DescribeDatabases(const DeviceState& device, Overview& overview, DangerSum& danger) {
    const DatabasesState state = ClassifyDatabases(device.appInfo, device.nowTicks);
    overview.databasesIsError = state != DatabasesState::UpToDate;
    switch (state) {
    case DatabasesState::UpToDate:
        overview.databases = GetLocalizedString(entry::GuiAppInfoAVBasesAreUpToDate);
        break;
    case DatabasesState::NotLoaded:
        overview.databases = GetLocalizedString(entry::GuiMainAVBasesEmptyError);
        danger.Add(Danger::Critical);
        break;
    case DatabasesState::OutOfDate:
        overview.databases = GetLocalizedString(entry::GuiAppInfoAVBasesAreOutOfDate);
        danger.Add(Danger::Warning);
        break;
    case DatabasesState::TotallyOutOfDate:
        overview.databases = GetLocalizedString(entry::GuiAppInfoAVBasesAreTotallyOutOfDate);
        danger.Add(Danger::Critical);
        break;
    }
}

} // namespace

Overview Describe(const DeviceState& device) {
    Overview overview;
    DangerSum danger;
    if (!IsStarted(device.fileMonitoring))
        danger.Add(Danger::Critical);
    DescribeScan(device, overview, danger);
    overview.lastUpdate = DescribeUpdate(device);
    DescribeDatabases(device, overview, danger);
    if (RecommendsRestart(device.appInfo.applicationUpdateState))
        danger.Add(Danger::OK);
    if (device.storageFill.value_or(0) >= AlmostFullStorage)
        danger.Add(Danger::Warning);
    // Whoever manages the device centrally answers for it, and its user isn't alarmed.
    if (device.isUnderPolicy)
        danger.Reset();
    overview.level = danger.Level();
    overview.verdict = danger.Sentence();
    overview.issues = FindIssues(device);
    return overview;
}

std::uint32_t StorageFillPercentage(const BackupItems& items, const settings::BackupSettings& settings) noexcept {
    if (settings.sizeLimitMb == 0)
        return 0;
    std::uint64_t size = 0;
    for (const BackupItemInfo& item : items)
        size += item.fileSize;
    const std::uint64_t limit = std::uint64_t{settings.sizeLimitMb} << 20;
    // A hundred times the size need not fit.
    return static_cast<std::uint32_t>(size / limit * 100 + size % limit * 100 / limit);
}

} // namespace tfs::overview
