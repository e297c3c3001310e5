// SPDX-License-Identifier: GPL-2.0-or-later
// From a state of the device to changes of rows.
#pragma once

#include <gui/protection_info/issue_info.h>
#include <gui/protection_info/protection_state_info.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace tfs::gui {

/// All that a refresh has found out.
struct ProtectionFacts {
    ProtectionStateInfo state;
    LicenseInfo license;
    bool allowUserManageLocalTasks = true;
    bool isUnderPolicy = false;
    std::optional<std::uint32_t> storageFill; ///< percentage of Storage in use; empty where it isn't known
    std::int64_t nowTicks = 0;                ///< 100 ns since 1601-01-01 UTC
};

/// What is true of one key: its issue, or that there is none.
struct IssueVerdict {
    int actionsType = 0;
    std::optional<IssueInfo> issue;
};

/// A verdict on each key, in the order in which rows are to change: licence, file monitoring, databases with full scan
/// and application update, Storage. Of two issues that exclude each other the one that stands comes first, so that the
/// page isn't without issues in between. Throws as overview::FindIssues does. Any thread.
std::vector<IssueVerdict> JudgeIssues(const ProtectionFacts& facts);

} // namespace tfs::gui
