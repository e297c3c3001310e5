// SPDX-License-Identifier: GPL-2.0-or-later
// The answer to "am I safe?" in the user's language: the verdict, the last scan and update, what to do.
#pragma once

#include <contract/tfs/backup.h>
#include <tfs_common/overview/danger.h>
#include <tfs_common/overview/issues.h>

#include <string>
#include <vector>

namespace tfs::overview {

struct Overview {
    Danger level = Danger::Critical;
    std::string verdict;        ///< one line, or two
    std::string lastScan;       ///< "Last scan: 2 days ago", "Running, started ...", "Never run"
    std::string lastScanResult; ///< empty where no scan has been run
    bool lastScanIsError = false;
    std::string lastUpdate;
    std::string databases;
    bool databasesIsError = false;
    std::vector<Issue> issues;
};

/// Throws as FindIssues does.
Overview Describe(const DeviceState& device);

/// Percentage of Storage's size limit that the objects take; 0 where there is no limit.
std::uint32_t StorageFillPercentage(const BackupItems& items, const settings::BackupSettings& settings) noexcept;

} // namespace tfs::overview
