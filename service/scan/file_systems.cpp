// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/file_systems.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <linux/magic.h>
#include <string>
#include <sys/sysmacros.h>
#include <sys/vfs.h>

namespace tfs::service::scan {
namespace {

constexpr unsigned long VirtualTypes[] = {
    PROC_SUPER_MAGIC, SYSFS_MAGIC,        CGROUP_SUPER_MAGIC, CGROUP2_SUPER_MAGIC,  DEBUGFS_MAGIC,
    TRACEFS_MAGIC,    SECURITYFS_MAGIC,   SELINUX_MAGIC,      SMACK_MAGIC,          PSTOREFS_MAGIC,
    BPF_FS_MAGIC,     DEVPTS_SUPER_MAGIC, EFIVARFS_MAGIC,     AUTOFS_SUPER_MAGIC,   BINFMTFS_MAGIC,
    NSFS_MAGIC,       PIPEFS_MAGIC,       SOCKFS_MAGIC,       RDTGROUP_SUPER_MAGIC,
    0x19800202, // message queues
    0x62656570, // configfs
    0x65735543, // control files of user-space file systems
    0x67596969, // RPC pipes
    0x5A3C69F0, // apparmorfs
};

/// Those whose times of status change come from this kernel and can't be set. Not so over the network, in user space,
/// on the media of other systems, or in memory, where writes through a mapping leave no trace.
constexpr unsigned long StampedTypes[] = {
    EXT4_SUPER_MAGIC, XFS_SUPER_MAGIC, BTRFS_SUPER_MAGIC, F2FS_SUPER_MAGIC, OVERLAYFS_SUPER_MAGIC,
    0x2FC12FC1, // ZFS
    0xCA451A4E, // bcachefs
    0x3153464A, // JFS
};

template <std::size_t N>
bool Contains(const unsigned long (&types)[N], unsigned long type) {
    return std::find(std::begin(types), std::end(types), type) != std::end(types);
}

} // namespace

FileSystems::FileSystems() {
    std::ifstream table("/proc/self/mountinfo");
    for (std::string line; std::getline(table, line);) {
        unsigned major = 0;
        unsigned minor = 0;
        const std::size_t mark = line.find(" - ");
        if (mark != std::string::npos && line.compare(mark + 3, 9, "devtmpfs ") == 0 &&
            std::sscanf(line.c_str(), "%*d %*d %u:%u", &major, &minor) == 2)
            m_deviceFolders.insert(makedev(major, minor));
    }
}

FileSystemKind FileSystems::KindOf(dev_t device, int descriptor) {
    if (const auto found = m_known.find(device); found != m_known.end())
        return found->second;
    FileSystemKind kind = FileSystemKind::Unstamped;
    struct statfs status {};
    if (m_deviceFolders.contains(device)) {
        kind = FileSystemKind::Virtual;
    } else if (::fstatfs(descriptor, &status) != 0) {
        return FileSystemKind::Unstamped; // scanned but not trusted, and asked again
    } else {
        const auto type = static_cast<unsigned long>(status.f_type) & 0xFFFFFFFFul;
        if (Contains(VirtualTypes, type))
            kind = FileSystemKind::Virtual;
        else if (Contains(StampedTypes, type))
            kind = FileSystemKind::Disk;
    }
    m_known.emplace(device, kind);
    return kind;
}

} // namespace tfs::service::scan
