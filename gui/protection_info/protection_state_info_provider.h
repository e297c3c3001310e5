// SPDX-License-Identifier: GPL-2.0-or-later
// Gathers what the service says about the device.
#pragma once

#include <contract/tfs/app_info.h>
#include <foundation/object.h>
#include <gui/task_manager/task_info.h>

namespace tfs::gui {

/// Holds no state. Operations block at most for the deadline of the calls that they make, trace a failure and return
/// its code. Any thread.
class ProtectionStateInfoProvider {
public:
    using TaskId = FixedTaskId;

    result_t GetAppInfo(ulk::IServiceLocator* remoteSl, AppInfo& appInfo);
    result_t GetTaskState(ulk::IServiceLocator* remoteSl, const TaskId& id, TaskInfo& task);
};

} // namespace tfs::gui
