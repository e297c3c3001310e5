// SPDX-License-Identifier: GPL-2.0-or-later
// The issues of the device, each with what would cure it.
#pragma once

#include <tfs_common/overview/device_state.h>

#include <string>
#include <vector>

namespace tfs::overview {

/// What cures an issue; there is at most one issue of each.
enum class IssueAction : int {
    Unknown = 0,
    StartUpdate = 1,
    StopUpdate = 2,
    EnableComponent = 3,
    StartScan = 4,
    LicenseLink = 5,
    StorageLink = 6,
    None = 7,
};

struct Issue {
    IssueAction action = IssueAction::Unknown;
    std::string title;
    std::string description;
    std::string taskName;   ///< that the action starts or stops; empty where there is none
    bool available = false; ///< the user may do it here
};

/// Ascending by action, in the user's language; but for the time of a running update, texts are kept from the first
/// call on. A date of the databases that can't be represented throws
/// ulk::datetime::TimeSystemError.
std::vector<Issue> FindIssues(const DeviceState& device);

} // namespace tfs::overview
