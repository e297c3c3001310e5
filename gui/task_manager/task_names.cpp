// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/common/application.h>
#include <gui/common/localized_text.h>
#include <gui/task_manager/task_names.h>

namespace tfs::gui {
namespace {

namespace entry = tfs::localization::entry;

constexpr int LongestPath = 50;
constexpr std::uint64_t RetranslateId = 8;

QString CustomScanName(const tfs::core::TaskInfo& task) {
    const auto* const settings = task.settings.Get<ScanSettings>();
    if (settings == nullptr) {
        ULK_TRACE(application::GetTracer(), ulk::level::Failure) << "Invalid settings type of temporary ODS task!";
    }
    if (settings == nullptr || settings->areas.empty())
        return LocalizedText(entry::GuiTaskNameCustomScanTask);
    const bool isOnly = settings->areas.size() == 1;
    return LocalizedFormat(isOnly ? entry::GuiTaskNameCustomScanTaskOneScanArea
                                  : entry::GuiTaskNameCustomScanTaskFewScanAreas,
                           ShortenedPath(settings->areas.front()));
}

QString OwnName(const tfs::core::TaskInfo& task) {
    return ToQString(task.displayName.empty() ? task.taskName : task.displayName);
}

} // namespace

QString ShownTaskName(const tfs::core::TaskInfo& task) {
    if (IsTemporaryScan(task))
        return CustomScanName(task);
    switch (task.taskId) {
    case static_cast<std::uint64_t>(FixedTaskId::FullScan):
        return LocalizedText(entry::GuiTaskNameFullScanTask);
    case static_cast<std::uint64_t>(FixedTaskId::BootScan):
        return LocalizedText(entry::GuiTaskNameBootScanTask);
    case static_cast<std::uint64_t>(FixedTaskId::MemoryScan):
        return LocalizedText(entry::GuiTaskNameMemScanTask);
    case static_cast<std::uint64_t>(FixedTaskId::Update):
        return LocalizedText(entry::GuiTaskNameUpdateTask);
    case RetranslateId:
        return LocalizedText(entry::GuiTaskNameRetranslateTask);
    default:
        return OwnName(task);
    }
}

QString LocalizedTaskName(const tfs::core::TaskInfo& task) {
    if (task.taskType == task_type::OAS)
        return LocalizedText(entry::GuiSettingsFAVName);
    if (task.taskType == task_type::OAFIM)
        return LocalizedText(entry::GuiSettingsFIMName);
    if (task.taskType == task_type::AntiCryptor)
        return LocalizedText(entry::GuiSettingsACName);
    if (task.taskType == task_type::Firewall)
        return LocalizedText(entry::GuiSettingsFWName);
    if (task.taskType == task_type::Rollback)
        return LocalizedText(entry::GuiTaskNameRollbackTask);
    if (task.taskId == static_cast<std::uint64_t>(FixedTaskId::CustomScan))
        return LocalizedText(entry::GuiTaskNameCustomScanTask);
    return ShownTaskName(task);
}

QString ShortenedPath(const std::string& path) {
    const QString text = ToQString(ulk::text::ToUtf16Lossy(std::string_view(path)));
    if (text.size() <= LongestPath)
        return text;
    // The beginning tells where, the end tells what; the middle goes.
    int head = (LongestPath - 1) / 2;
    int tail = LongestPath - 1 - head;
    // A character of two units goes as a whole.
    if (text.at(head).isLowSurrogate())
        --head;
    if (text.at(text.size() - tail).isLowSurrogate())
        --tail;
    return text.left(head) + QChar(0x2026) + text.right(tail);
}

} // namespace tfs::gui
