// SPDX-License-Identifier: GPL-2.0-or-later
// Gathers what the service says about the device.
#pragma once

#include <foundation/object.h>
#include <gui/protection_info/protection_state_info.h>

namespace tfs::gui {

/// Holds no state. Operations block at most for the deadline of the calls that they make, trace a failure and return
/// its code. Any thread.
class ProtectionStateInfoProvider {
public:
    using TaskId = FixedTaskId;

    result_t GetAppInfo(ulk::IServiceLocator* remoteSl, AppInfo& appInfo);
    result_t GetActiveLicenseStateInfo(ulk::IServiceLocator* remoteSl, LicenseInfo& license);
    result_t GetTaskState(ulk::IServiceLocator* remoteSl, const TaskId& id, TaskInfo& task);
    /// The whole record. Ends with the first part that fails; throws ulk::CheckResultFailedException "Cannot get info
    /// for OAS task" where that part is the file monitoring task.
    result_t GetProtectionStateInfo(ulk::IServiceLocator* remoteSl, ProtectionStateInfo& info);
};

} // namespace tfs::gui
