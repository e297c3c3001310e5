// SPDX-License-Identifier: GPL-2.0-or-later
// One row of the task list.
#pragma once

#include <gui/task_manager/task_info.h>

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <cstdint>

namespace tfs::gui {

struct OneTaskInfo {
    QString taskName;
    std::uint64_t taskId = 0;
    bool cannotBeDeleted = false;
    bool canBeStarted = false;
    bool canBeStopped = false;
    bool showFullInfo = false;
    bool showStartButton = true;
    bool showStopButton = true;
    std::uint8_t currentState = tfs::types::TaskState::Unknown;
    std::uint8_t taskReportType = 0; ///< component to open in Reports
    std::uint8_t progressValue = 0;  ///< percent
    bool isProgressKnown = false;    ///< else a running row keeps what it showed
    QString scheduleInfo;
    QString summary;
    QString resultInfo;
    bool resultIsError = false;
    QStringList progressInfo; ///< lines under the expander
    OxsStatistic statistics;
    TaskInfo source;
};

} // namespace tfs::gui
