// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/app_info_text.h>
#include <control/escape.h>
#include <control/text_width.h>
#include <control/values.h>
#include <tfs_common/translator.h>

#include <nlohmann/json.hpp>
#include <sstream>

namespace tfs::control {
namespace {

namespace entry = localization::entry;
using nlohmann::json;

constexpr std::size_t LabelWidth = 36;
constexpr char InstallUpdate[] = "tesl-control --update-application";

std::string Text(std::uint32_t id) { return EscapeForTerminal(localization::GetLocalizedString(id)); }

std::string Safe(const ulk::types::string16_t& text) { return EscapeForTerminal(Utf8(text)); }

std::string YesOrNo(bool value) { return Text(value ? entry::Yes : entry::No); }

/// Lines of a text, each safe by itself and behind the indent.
std::string Indented(const std::string& text, const std::string& indent) {
    std::string result;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        result += indent + EscapeForTerminal(line) + '\n';
    return result;
}

std::string Row(const std::string& label, const std::string& value) {
    const std::size_t width = TextWidth(label);
    return label + std::string(width < LabelWidth ? LabelWidth - width : 1, ' ') + value + '\n';
}

std::string TimeOr(const std::string& time, std::uint32_t otherwise) { return time.empty() ? Text(otherwise) : time; }

std::string UpdateText(const AppInfo& appInfo) {
    switch (appInfo.applicationUpdateState) {
    case ApplicationUpdateState::NoUpdatesAvailable:
        return Text(entry::AppInfoNoUpdatesAvailable);
    case ApplicationUpdateState::UpdateDownloaded:
        return EscapeForTerminal(
            localization::Format(localization::GetLocalizedString(entry::AppInfoUpdateIsReadyToInstall2),
                                 Utf8(appInfo.applicationUpdateVersion), InstallUpdate));
    case ApplicationUpdateState::UpdateInstalled:
        return Text(entry::AppInfoUpdateInstalledNeedRestart);
    case ApplicationUpdateState::UpdateFailed:
        return Text(entry::GuiProtectionStateNeedRebootDescription);
    case ApplicationUpdateState::ModuleUpdateInstalled:
        return Text(entry::GuiProtectionStateNeedRestartAppDescription);
    case ApplicationUpdateState::PatchFilesCorrupted:
        return Text(entry::AppInfoPatchCorrupted);
    case ApplicationUpdateState::Unknown:
        break;
    }
    return Text(entry::GuiMainLastRunTaskTimeUnknown);
}

std::string SystemText(const AppInfo& appInfo) {
    const std::string version = Safe(appInfo.systemVersion);
    return Safe(appInfo.systemName) + (version.empty() ? version : " (" + version + ')');
}

std::string OverviewText(const overview::Overview& overview) {
    std::string text = Indented(overview.verdict, "") + '\n';
    text += Text(entry::GuiAppInfoButtonScan) + '\n' + Indented(overview.lastScan, "  ");
    text += Indented(overview.lastScanResult, "  ");
    text += Text(entry::GuiAppInfoButtonUpdate) + '\n' + Indented(overview.lastUpdate, "  ");
    text += Indented(overview.databases, "  ");
    text += Text(entry::GuiProtectionStateHeader) + '\n';
    if (overview.issues.empty())
        text += "  " + Text(entry::GuiProtectionStateOK) + '\n';
    for (const overview::Issue& issue : overview.issues)
        text += Indented(issue.title, "  ") + Indented(issue.description, "    ");
    return text;
}

const char* UpdateWord(ApplicationUpdateState state) noexcept {
    switch (state) {
    case ApplicationUpdateState::NoUpdatesAvailable:
        return "none";
    case ApplicationUpdateState::UpdateDownloaded:
        return "available";
    case ApplicationUpdateState::UpdateInstalled:
        return "restart-required";
    case ApplicationUpdateState::UpdateFailed:
        return "failed";
    case ApplicationUpdateState::ModuleUpdateInstalled:
        return "module-restart-required";
    case ApplicationUpdateState::PatchFilesCorrupted:
        return "corrupted";
    case ApplicationUpdateState::Unknown:
        break;
    }
    return "unknown";
}

const char* LevelWord(overview::Danger level) noexcept {
    switch (level) {
    case overview::Danger::OK:
        return "ok";
    case overview::Danger::Warning:
        return "warning";
    case overview::Danger::Critical:
        break;
    }
    return "critical";
}

const char* ActionWord(overview::IssueAction action) noexcept {
    switch (action) {
    case overview::IssueAction::StartUpdate:
        return "start-update";
    case overview::IssueAction::StopUpdate:
        return "stop-update";
    case overview::IssueAction::EnableComponent:
        return "enable-component";
    case overview::IssueAction::StartScan:
        return "start-scan";
    case overview::IssueAction::LicenseLink:
        return "license";
    case overview::IssueAction::StorageLink:
        return "storage";
    case overview::IssueAction::None:
    case overview::IssueAction::Unknown:
        break;
    }
    return "none";
}

json TextOrNull(const std::string& text) { return text.empty() ? json(nullptr) : json(text); }

} // namespace

std::string AppInfoText(const AppInfo& appInfo, const overview::Overview& overview) {
    std::string text = OverviewText(overview) + '\n';
    text += Row(Text(entry::AppInfoVersion), Safe(appInfo.applicationVersion));
    text += Row(Text(entry::AppInfoUpdateState), UpdateText(appInfo));
    text += Row(Text(entry::AppInfoProtectionStatus), Text(appInfo.isOASEnabled ? entry::On : entry::Off));
    text += Row(Text(entry::AppInfoAVBasesLoaded), YesOrNo(appInfo.avBasesLoaded));
    text += Row(Text(entry::AppInfoAVBasesRecords), std::to_string(appInfo.avRecordsCount));
    text += Row(Text(entry::AppInfoLastBasesReleaseDate),
                TimeOr(UtcFromTicks(appInfo.avBasesDate), entry::GuiMainLastRunTaskTimeUnknown));
    text += Row(Text(entry::AppInfoScanMyComputer),
                TimeOr(UtcFromEpoch(appInfo.lastMyCompScanTime), entry::GuiMainNeverRunScanTaskSummary));
    text += Row(Text(entry::GuiSupportOSInfo), SystemText(appInfo));
    text += Row("Engine:", Safe(appInfo.engineVersion));
    text += Row("Scanner workers:", std::to_string(appInfo.scannerWorkers));
    return text;
}

json AppInfoJson(const AppInfo& appInfo) {
    return {
        {"version", Utf8(appInfo.applicationVersion)},
        {"engineVersion", Utf8(appInfo.engineVersion)},
        {"basesLoaded", appInfo.avBasesLoaded},
        {"basesRecords", appInfo.avRecordsCount},
        {"basesDate", TextOrNull(UtcFromTicks(appInfo.avBasesDate))},
        {"lastUpdate", TextOrNull(UtcFromTicks(appInfo.lastUpdateTime))},
        {"lastFullScan", TextOrNull(UtcFromEpoch(appInfo.lastMyCompScanTime))},
        {"realTimeProtection", appInfo.isOASEnabled},
        {"canRunProtection", appInfo.canRunProtection},
        {"rollbackAvailable", appInfo.isRollbackAvailable},
        {"scannerWorkers", appInfo.scannerWorkers},
        {"applicationUpdate", UpdateWord(appInfo.applicationUpdateState)},
        {"applicationUpdateVersion", TextOrNull(Utf8(appInfo.applicationUpdateVersion))},
        {"system", {{"name", Utf8(appInfo.systemName)}, {"version", Utf8(appInfo.systemVersion)}}},
    };
}

json OverviewJson(const overview::Overview& overview) {
    json issues = json::array();
    for (const overview::Issue& issue : overview.issues)
        issues.push_back({{"action", ActionWord(issue.action)},
                          {"title", issue.title},
                          {"description", issue.description},
                          {"task", TextOrNull(issue.taskName)},
                          {"available", issue.available}});
    return {
        {"level", LevelWord(overview.level)}, {"verdict", overview.verdict},
        {"lastScan", overview.lastScan},      {"lastScanResult", TextOrNull(overview.lastScanResult)},
        {"lastUpdate", overview.lastUpdate},  {"databases", overview.databases},
        {"issues", std::move(issues)},
    };
}

} // namespace tfs::control
