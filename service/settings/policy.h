// SPDX-License-Identifier: GPL-2.0-or-later
// What the administrator of the machine, or a central console, has laid down in the policy folder.
#pragma once

#include <contract/tfs/settings.h>

#include <optional>
#include <string>
#include <vector>

namespace tfs::service::settings {

/// Why a file, or the whole folder, isn't applied. Texts are one line each; the path is bytes.
struct PolicyProblem {
    std::string path;
    std::string reason;
    friend bool operator==(const PolicyProblem&, const PolicyProblem&) = default;
};

/// The policy of all files that are applied, taken together.
struct Policy {
    bool inForce = false; ///< at least one file is applied
    std::string name;     ///< UTF-8, from the last file that has one, else the last file's own; empty if not in force
    tfs::settings::SettingsChangeList settings; ///< locked application settings; the last item of a key counts
    std::optional<bool> allowUserManageLocalTasks;
    std::optional<bool> allowUserManageGroupTasks;
    std::vector<PolicyProblem> problems;

    bool Locks(const std::string& key) const noexcept {
        for (const auto& item : settings.items)
            if (item.key == key)
                return true;
        return false;
    }
    friend bool operator==(const Policy&, const Policy&) = default;
};

} // namespace tfs::service::settings
