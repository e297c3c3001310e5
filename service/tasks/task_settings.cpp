// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/scan_run.h>
#include <service/tasks/task_settings.h>
#include <tfs_common/settings_tools.h>

#include <algorithm>

namespace tfs::service::tasks {
namespace {

using tfs::settings::ChangeItem;
using ulk::types::any_struct_t;

constexpr std::size_t MaxPaths = 1024;
constexpr std::size_t MaxPathLength = 4095;
constexpr std::size_t MaxPathsTotal = 256 * 1024; ///< bytes of one list

template <class... Arguments>
void Tell(ValidationMessages& messages, const char* key, const Arguments&... arguments) {
    tfs::settings::ValidationMessage message{key, {ulk::text::ToUtf16Lossy(arguments)...}};
    if (messages.size() < tools::GreatestMessageCount &&
        std::find(messages.begin(), messages.end(), message) == messages.end())
        messages.push_back(std::move(message));
}

bool IsPath(const std::string& path) {
    return !path.empty() && path.front() == '/' && path.size() <= MaxPathLength && path.find('\0') == std::string::npos;
}

void TestPaths(const std::vector<std::string>& paths, const char* key, ValidationMessages& messages) {
    std::size_t total = 0;
    for (const std::string& path : paths) {
        total += path.size();
        if (!IsPath(path))
            Tell(messages, "InvalidValue1Settings2", path, key);
    }
    if (total > MaxPathsTotal || paths.size() > MaxPaths)
        Tell(messages, "MaxPathSizeSettingError", key);
}

void TestMasks(const std::vector<std::string>& masks, ValidationMessages& messages) {
    for (const std::string& mask : masks)
        if (!scan::CheckMask(mask).empty())
            Tell(messages, "InvalidValue1Settings2", mask, "ExcludeMasks");
    if (masks.size() > MaxPaths)
        Tell(messages, "MaxPathSizeSettingError", "ExcludeMasks");
}

void Test(const ScanSettings& settings, std::u16string_view taskType, ValidationMessages& messages) {
    if (taskType == task_type::ODS && settings.areas.empty())
        Tell(messages, "ScanTaskMustContainAtLeastOneActiveScanArea");
    TestPaths(settings.areas, "ScanAreas", messages);
    TestPaths(settings.excludedPaths, "ExcludePaths", messages);
    TestMasks(settings.excludeMasks, messages);
    constexpr std::uint64_t LargestLimit = std::uint64_t{1} << 40;
    constexpr std::uint32_t LongestLimit = 24 * 60 * 60;
    if (settings.maxFileSize > LargestLimit)
        Tell(messages, "InvalidValue1Settings2", std::to_string(settings.maxFileSize), "SizeLimit");
    if (settings.fileTimeLimitSeconds > LongestLimit)
        Tell(messages, "InvalidValue1Settings2", std::to_string(settings.fileTimeLimitSeconds), "TimeLimit");
}

void Test(const FileMonitoringSettings& settings, ValidationMessages& messages) {
    if (settings.areas.empty())
        Tell(messages, "ScanTaskMustContainAtLeastOneActiveScanArea");
    TestPaths(settings.areas, "ScanAreas", messages);
    TestPaths(settings.watchedFolders, "WatchedFolders", messages);
    TestPaths(settings.excludedPaths, "ExcludePaths", messages);
    TestPaths(settings.excludedPrograms, "ExcludePrograms", messages);
    TestMasks(settings.excludeMasks, messages);
}

void Test(const UpdateSettings& settings, ValidationMessages& messages) {
    if (settings.sourceType != types::UpdateSourceKind::TLServers && settings.customSources.empty())
        Tell(messages, "CustomSourcesMustContainAtLeastOneEnabledEntry");
}

} // namespace

ValidationMessages FaultsOf(const any_struct_t& settings, std::u16string_view taskType) {
    ValidationMessages messages;
    if (const auto* scan = settings.Get<ScanSettings>())
        Test(*scan, taskType, messages);
    else if (const auto* update = settings.Get<UpdateSettings>())
        Test(*update, messages);
    else if (const auto* monitoring = settings.Get<FileMonitoringSettings>())
        Test(*monitoring, messages);
    return messages;
}

result_t ChangeSettings(const any_struct_t& settings, std::u16string_view taskType,
                        const tfs::settings::SettingsChangeList& changes, ValidationMessages& messages,
                        any_struct_t& updated) {
    any_struct_t changed;
    const result_t result = tools::UpdateSettings(nullptr, settings, changes, messages, changed);
    if (!ULK_SUCCEEDED(result))
        return result == ulk::eNotFound || result == ulk::eInvalidArgument ? sInvalidSettings : result;
    messages = FaultsOf(changed, taskType);
    if (!messages.empty())
        return sInvalidSettings;
    updated = std::move(changed);
    return ulk::sOk;
}

std::string DescribeChanges(const std::vector<ChangeItem>& before, const std::vector<ChangeItem>& after) {
    std::string text;
    for (const ChangeItem& item : after)
        if (std::find(before.begin(), before.end(), item) == before.end())
            text.append(text.empty() ? "" : ", ").append(item.key).append("=").append(item.value);
    return text;
}

} // namespace tfs::service::tasks
