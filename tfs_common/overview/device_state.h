// SPDX-License-Identifier: GPL-2.0-or-later
// What the service says of the device at one moment; all that the overview is made of.
#pragma once

#include <contract/tfs/app_info.h>
#include <contract/tfs/tasks.h>

#include <cstdint>
#include <optional>

namespace tfs::overview {

/// A task that the service doesn't list is in state Unknown.
struct DeviceState {
    AppInfo appInfo;
    core::TaskInfo fileMonitoring;
    core::TaskInfo fullScan;
    core::TaskInfo update;
    bool canStartFileMonitoring = false;
    std::optional<OxsStatistic> lastFullScan; ///< empty where it has none
    std::optional<std::uint32_t> storageFill; ///< percentage of Storage in use; empty where it isn't known
    bool isUnderPolicy = false;
    bool allowUserManageLocalTasks = true;
    std::int64_t nowTicks = 0; ///< of the clock, in 100 ns since 1601-01-01 UTC
};

/// From this percentage on Storage counts as almost full.
inline constexpr std::uint32_t AlmostFullStorage = 81;

/// An update of the application waits for its user.
inline bool RecommendsRestart(ApplicationUpdateState state) noexcept {
    return state >= ApplicationUpdateState::UpdateDownloaded && state <= ApplicationUpdateState::ModuleUpdateInstalled;
}

inline bool IsStarted(const core::TaskInfo& task) noexcept { return task.state == types::TaskState::Started; }

} // namespace tfs::overview
