// SPDX-License-Identifier: GPL-2.0-or-later
// Which file systems hold files worth scanning. Used on one thread.
#pragma once

#include <sys/types.h>
#include <unordered_map>
#include <unordered_set>

namespace tfs::service::scan {

enum class FileSystemKind {
    Disk,      ///< this kernel stamps every change of a file
    Unstamped, ///< changes may leave no trace, or a forged one: scanned, never cached
    Virtual,   ///< the kernel's own: never scanned
};

class FileSystems {
public:
    /// Reads the mount table.
    FileSystems();
    /// Kind of the file system that `descriptor` lies on; `device` is its st_dev.
    FileSystemKind KindOf(dev_t device, int descriptor);

private:
    std::unordered_set<dev_t> m_deviceFolders; ///< devtmpfs, which statfs can't tell from tmpfs
    std::unordered_map<dev_t, FileSystemKind> m_known;
};

} // namespace tfs::service::scan
