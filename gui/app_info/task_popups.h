// SPDX-License-Identifier: GPL-2.0-or-later
// What the popups of the tray say about tasks.
#pragma once

#include <contract/tfs/event.h>
#include <foundation/object.h>
#include <gui/task_manager/task_info.h>

#include <QtCore/QString>
#include <cstdint>
#include <optional>

namespace tfs::gui::task_popups {

struct TaskFailure {
    std::uint32_t componentId = 0;
    QString text;
};

/// The popup of a task that was not started; nothing for a task that raises none. Reads the task's record from the
/// service. An event without its fields throws ulk::CheckResultFailedException, as do failing calls.
std::optional<TaskFailure> ForTaskNotStarted(ulk::IServiceLocator* remoteSl, const Event& event);

/// Why a task was not started.
QString NotStartedReason(std::int64_t reason);

/// The popup of a finished custom scan; statistics that can't be had count as none found.
QString ForCustomScanStopped(ulk::IServiceLocator* remoteSl, const TaskInfo& task);

} // namespace tfs::gui::task_popups
