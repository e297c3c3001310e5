// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/common/application.h>
#include <gui/common/elapsed_time.h>
#include <gui/common/localized_text.h>
#include <gui/task_manager/component_id.h>
#include <gui/task_manager/task_converter.h>
#include <gui/task_manager/task_names.h>

namespace tfs::gui {
namespace {

namespace entry = tfs::localization::entry;
using tfs::types::TaskState;

ulk::ITracer* Tracer() noexcept { return application::GetTracer(); }

bool HasEnded(TaskState::Type state) { return state == TaskState::Stopped || state == TaskState::Unknown; }

/// Texts are fetched once: the catalogue doesn't change after start.
struct StatisticTexts {
    QString scanned = LocalizedText(entry::GuiTaskListStatisticScannedObjectsName);
    QString threats = LocalizedText(entry::GuiTaskListStatisticThreatsFoundName);
    QString unavailable = LocalizedText(entry::GuiTaskListUnavailableStatistic);
    QString ok = LocalizedText(entry::GuiTaskResultOk);
    QString detect = LocalizedText(entry::GuiTaskResultDetect);
};

const StatisticTexts& Texts() {
    static const StatisticTexts texts;
    return texts;
}

/// The statistics that the row is to show; false where there are none.
bool TakeStatistics(ulk::IServiceLocator* remoteSl, OneTaskInfo& row) {
    if (row.source.statistics) {
        ULK_TRACE(Tracer(), ulk::level::Detail) << "Use offline statistics";
        row.statistics = *row.source.statistics;
        return true;
    }
    ULK_TRACE(Tracer(), ulk::level::Detail) << "Try to get statistitcs from the product";
    OnDemandTaskListActions actions;
    if (!ULK_SUCCEEDED(actions.GetTaskStatistics(remoteSl, row.source.core.taskName, row.statistics))) {
        ULK_TRACE(Tracer(), ulk::level::Failure) << "Cannot get statistics from the product";
        return false;
    }
    return true;
}

} // namespace

OneTaskInfo TaskConverter::ToOneTaskInfo(ulk::IServiceLocator* remoteSl, const TaskInfo& task, bool scanTasksMode) {
    OneTaskInfo row;
    row.source = task;
    row.taskId = task.core.taskId;
    row.canBeStarted = task.canBeStarted;
    row.canBeStopped = task.canBeStopped;
    row.currentState = static_cast<std::uint8_t>(task.core.state);
    row.cannotBeDeleted = task.core.cannotBeDeleted.value_or(false);
    row.showStartButton = !IsTemporaryScan(task.core);
    row.showStopButton = true;
    row.taskName = ShownTaskName(task.core);
    row.taskReportType =
        static_cast<std::uint8_t>(ComponentOfTaskType(task.core.taskType).value_or(ComponentId::SystemAudit));
    row.scheduleInfo = ToQString(task.scheduleText);
    row.summary = Summary(task);
    ULK_TRACE(Tracer(), ulk::level::Detail)
        << "Converting task, got: { ... , taskId = " << row.taskId << ", taskName = " << row.taskName.toStdString()
        << ", currentState = " << static_cast<int>(row.currentState) << ", cannotBeDeleted = " << row.cannotBeDeleted
        << ", canBeStarted = " << row.canBeStarted << ", canBeStopped = " << row.canBeStopped
        << ", taskReportType = " << static_cast<int>(row.taskReportType) << ", ... }";
    if (scanTasksMode)
        FillTaskStatisticsInfo(remoteSl, row);
    return row;
}

void TaskConverter::FillTaskStatisticsInfo(ulk::IServiceLocator* remoteSl, OneTaskInfo& row) {
    ULK_TRACE(Tracer(), ulk::level::Detail) << "FillTaskStatisticsInfo taskId = " << row.taskId;
    const StatisticTexts& texts = Texts();
    if (!TakeStatistics(remoteSl, row)) {
        if (row.taskReportType != static_cast<std::uint8_t>(ComponentId::ODFIM))
            row.progressInfo << texts.unavailable;
        return;
    }
    const ScanStatistic& scan = row.statistics.scan;
    row.progressInfo << texts.scanned + QString::number(scan.scannedObjects)
                     << texts.threats + QString::number(scan.threatsFound);
    row.resultIsError = scan.threatsFound > 0;
    row.resultInfo = row.resultIsError ? texts.detect : texts.ok;
}

QString TaskConverter::Summary(const TaskInfo& task) {
    const bool isUpdate = UpdateTaskTypes().count(task.core.taskType) != 0;
    if (!HasEnded(task.core.state) && task.core.startTime != 0)
        return LocalizedFormat(entry::GuiStartedTaskSummary, TimeAgoTextFromSeconds(task.core.startTime));
    // An event tells of the end before the record knows the time of it.
    const std::int64_t lastRun = task.core.stopTime != 0 ? task.core.stopTime : task.core.startTime;
    if (lastRun == 0)
        return LocalizedText(isUpdate ? entry::GuiMainNeverRunUpdateTaskSummary
                                      : entry::GuiMainNeverRunScanTaskSummary);
    return LocalizedFormat(isUpdate ? entry::GuiMainLastRunUpdateTask : entry::GuiMainLastRunScanTask,
                           TimeAgoTextFromSeconds(lastRun));
}

} // namespace tfs::gui
