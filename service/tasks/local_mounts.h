// SPDX-License-Identifier: GPL-2.0-or-later
// Which file systems belong to this machine: a full scan doesn't stop at the edge of one, and doesn't wander into the
// kernel's views or other machines' disks.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tfs::service::tasks {

/// The areas and the mount points below them that hold local files, each file system's part once, from the text of
/// /proc/self/mountinfo. Lines that don't read as such are passed over. Areas come first, in their order.
std::vector<std::string> WithLocalMounts(const std::vector<std::string>& areas, std::string_view mountInfo);

/// The same with the mounts of now. Touches the disk.
std::vector<std::string> WithLocalMounts(const std::vector<std::string>& areas);

} // namespace tfs::service::tasks
