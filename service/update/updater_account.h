// SPDX-License-Identifier: GPL-2.0-or-later
// The account as which the updater runs.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace tfs::service::update {

struct UpdaterAccount {
    uid_t uid = 0;
    gid_t gid = 0;
    std::string name;
};

/// Where the service is root: the account of the packaged updater, else "nobody"; empty where there is neither.
/// Where it isn't: its own user.
std::optional<UpdaterAccount> FindUpdaterAccount();

/// The account that the package of the updater brings. Files that it owns are trusted like those it fetches for us.
bool IsPackagedUpdater(uid_t uid) noexcept;

} // namespace tfs::service::update
