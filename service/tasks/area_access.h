// SPDX-License-Identifier: GPL-2.0-or-later
// May a user have this path scanned? Only what he could read himself: a scan's results tell what is there.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tfs::service::tasks {

struct AreaAccess {
    int error = 0;    ///< errno; 0 where the area may be scanned
    std::string path; ///< the area with all links of its path resolved
};

/// Opens the area with the rights of `uid`, or with the service's own where it is empty. Only the root user can take
/// on other users' rights: elsewhere another user's uid is EACCES. Anything but a file or a folder is EOPNOTSUPP.
/// Touches the disk; called on a task's worker.
AreaAccess CheckArea(const std::string& area, std::optional<std::uint32_t> uid);

} // namespace tfs::service::tasks
