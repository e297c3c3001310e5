// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/datetime.h>
#include <tfs_common/databases_state.h>
#include <tfs_common/elapsed_time.h>
#include <tfs_common/overview/issues.h>
#include <tfs_common/translator.h>

namespace tfs::overview {
namespace {

namespace entry = localization::entry;
using localization::GetLocalizedString;
using types::TaskState;

struct Texts {
    Texts(std::uint32_t titleId, std::uint32_t descriptionId)
        : title(GetLocalizedString(titleId)), description(GetLocalizedString(descriptionId)) {}

    std::string title;
    std::string description;
};

/// Looked up once, in the language of the first use, and kept for the life of the process.
struct IssueTexts {
    Texts basesNotLoaded{entry::GuiProtectionStateAVBasesIsNotLoaded,
                         entry::GuiProtectionStateAVBasesIsNotLoadedDescription};
    Texts basesOutOfDate{entry::GuiProtectionStateAVBasesAreOutOfDate,
                         entry::GuiProtectionStateAVBasesAreOutOfDateDescription};
    Texts basesTotallyOutOfDate{entry::GuiProtectionStateAVBasesAreTotallyOutOfDate,
                                entry::GuiProtectionStateAVBasesAreTotallyOutOfDateDescription};
    Texts monitoringDisabled{entry::GuiProtectionStateOasDisabled, entry::GuiProtectionStateOasDisabledDescription};
    Texts fullScanNeverRun{entry::GuiProtectionStateFullScanNeverRun,
                           entry::GuiProtectionStateFullScanNeverRunDescription};
    Texts storageAlmostFull{entry::GuiProtectionStateStorageIssue, entry::GuiProtectionStateStorageIssueDescription};
    Texts patchIsReady{entry::GuiProtectionStatePatchIsReadyToInstall,
                       entry::GuiProtectionStatePatchIsReadyToInstallDescription};
    Texts needReboot{entry::GuiProtectionStateNeedReboot, entry::GuiProtectionStateNeedRebootDescription};
    Texts needRestart{entry::GuiProtectionStateNeedRestartApp, entry::GuiProtectionStateNeedRestartAppDescription};
};

const IssueTexts& KeptTexts() {
    static const IssueTexts texts;
    return texts;
}

std::string Name(const char16_t* taskName) { return ulk::text::ToUtf8Lossy(taskName); }

bool MayManage(const DeviceState& device) { return device.allowUserManageLocalTasks || !device.isUnderPolicy; }

bool CanRun(const DeviceState& device) { return device.appInfo.avBasesLoaded && device.appInfo.canRunProtection; }

/// Null where nothing is wrong.
const Texts* DatabasesTexts(DatabasesState state) {
    switch (state) {
    case DatabasesState::NotLoaded:
        return &KeptTexts().basesNotLoaded;
    case DatabasesState::OutOfDate:
        return &KeptTexts().basesOutOfDate;
    case DatabasesState::TotallyOutOfDate:
        return &KeptTexts().basesTotallyOutOfDate;
    case DatabasesState::UpToDate:
        break;
    }
    return nullptr;
}

/// Null where there is nothing to do.
const Texts* ApplicationUpdateTexts(ApplicationUpdateState state) {
    switch (state) {
    case ApplicationUpdateState::UpdateDownloaded:
        return &KeptTexts().patchIsReady;
    case ApplicationUpdateState::UpdateInstalled:
    case ApplicationUpdateState::UpdateFailed:
        return &KeptTexts().needReboot;
    case ApplicationUpdateState::ModuleUpdateInstalled:
        return &KeptTexts().needRestart;
    case ApplicationUpdateState::Unknown:
    case ApplicationUpdateState::NoUpdatesAvailable:
    case ApplicationUpdateState::PatchFilesCorrupted:
        break;
    }
    return nullptr;
}

Issue MakeIssue(IssueAction action, const Texts& texts, const std::string& taskName, bool available) {
    return {action, texts.title, texts.description, taskName, available};
}

Issue DatabasesIssue(const DeviceState& device, const Texts& texts) {
    const TaskState::Type update = device.update.state;
    Issue issue = MakeIssue(IssueAction::StartUpdate, texts, Name(task_name::Update), MayManage(device));
    if (update == TaskState::Starting || update == TaskState::Started) {
        issue.action = IssueAction::StopUpdate;
        issue.description = localization::Format(
            GetLocalizedString(entry::GuiStartedTaskSummary),
            localization::TimeAgoText(ulk::datetime::TicksFromSeconds(device.update.startTime), device.nowTicks));
    }
    return issue;
}

} // namespace

std::vector<Issue> FindIssues(const DeviceState& device) {
    std::vector<Issue> issues;
    if (const Texts* const texts = DatabasesTexts(ClassifyDatabases(device.appInfo, device.nowTicks)))
        issues.push_back(DatabasesIssue(device, *texts));
    if (!IsStarted(device.fileMonitoring))
        issues.push_back(MakeIssue(IssueAction::EnableComponent, KeptTexts().monitoringDisabled,
                                   Name(task_name::FileMonitoring), device.canStartFileMonitoring && CanRun(device)));
    if (device.appInfo.lastMyCompScanTime == 0)
        issues.push_back(MakeIssue(IssueAction::StartScan, KeptTexts().fullScanNeverRun, Name(task_name::FullScan),
                                   MayManage(device) && CanRun(device)));
    if (device.storageFill.value_or(0) >= AlmostFullStorage)
        issues.push_back(MakeIssue(IssueAction::StorageLink, KeptTexts().storageAlmostFull, {}, true));
    if (const Texts* const texts = ApplicationUpdateTexts(device.appInfo.applicationUpdateState))
        issues.push_back(MakeIssue(IssueAction::None, *texts, {}, true));
    return issues;
}

} // namespace tfs::overview
