// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/mount_table.h>
#include <service/tasks/local_mounts.h>

#include <algorithm>
#include <set>
#include <utility>

namespace tfs::service::tasks {

std::vector<std::string> WithLocalMounts(const std::vector<std::string>& areas, std::string_view mountInfo) {
    const std::vector<scan::MountEntry> mounts = scan::ParseMountTable(mountInfo);
    std::vector<std::string> result = areas;
    std::set<std::pair<std::string, std::string>> seen;
    for (const scan::MountEntry& mount : mounts)
        if (std::find(areas.begin(), areas.end(), mount.point) != areas.end())
            seen.emplace(mount.device, mount.root);
    for (const scan::MountEntry& mount : mounts) {
        const bool wanted = std::any_of(areas.begin(), areas.end(),
                                        [&](const std::string& area) { return scan::IsBelow(mount.point, area); });
        // The same part of a file system under a second name holds the same files.
        if (scan::IsLocalType(mount.type) && wanted && seen.emplace(mount.device, mount.root).second &&
            std::find(result.begin(), result.end(), mount.point) == result.end())
            result.push_back(mount.point);
    }
    return result;
}

std::vector<std::string> WithLocalMounts(const std::vector<std::string>& areas) {
    return WithLocalMounts(areas, scan::ReadMountTable());
}

} // namespace tfs::service::tasks
