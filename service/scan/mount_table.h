// SPDX-License-Identifier: GPL-2.0-or-later
// The kernel's table of mounted file systems, read. Any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tfs::service::scan {

struct MountEntry {
    std::string device; ///< major:minor
    std::string root;   ///< within the file system
    std::string point;  ///< absolute
    std::string type;
    std::string options; ///< of the file system, separated by commas
};

/// From the text of /proc/self/mountinfo. Lines that don't read as such are passed over.
std::vector<MountEntry> ParseMountTable(std::string_view mountInfo);
/// The mounts of now, as text. Touches the disk of nobody; empty where /proc is missing.
std::string ReadMountTable();

/// Do files of that type of file system lie on this machine?
bool IsLocalType(std::string_view type) noexcept;
/// Both without a closing slash; a folder isn't below itself.
bool IsBelow(std::string_view path, std::string_view folder) noexcept;

/// What an absolute path without links lies on; null where nothing fits.
const MountEntry* MountOf(std::string_view path, const std::vector<MountEntry>& mounts) noexcept;

} // namespace tfs::service::scan
