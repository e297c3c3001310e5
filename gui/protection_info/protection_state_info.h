// SPDX-License-Identifier: GPL-2.0-or-later
// What the service says about the device, gathered.
#pragma once

#include <contract/tfs/app_info.h>
#include <gui/task_manager/task_info.h>

namespace tfs::gui {

struct ProtectionStateInfo {
    AppInfo appInfo;
    TaskInfo updateTask;
    TaskInfo fileMonitoringTask;
};

/// What licensing has to say to the user.
struct LicenseInfo {
    bool isIssue = false; ///< the rest is told only where this holds
    ulk::types::string16_t title;
    ulk::types::string16_t description;
};

} // namespace tfs::gui
