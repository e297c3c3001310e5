// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/path_order.h>
#include <service/scan/work_count.h>

#include <fcntl.h>
#include <linux/magic.h>
#include <set>
#include <sys/statvfs.h>
#include <sys/vfs.h>

namespace tfs::service::scan {
namespace {

constexpr unsigned LooksBetweenTimes = 1024;

bool IsWholeFileSystem(const std::string& area, const struct stat& status) {
    if (!S_ISDIR(status.st_mode))
        return false;
    struct stat above {};
    return ::stat((area + "/..").c_str(), &above) == 0 &&
           (above.st_dev != status.st_dev || above.st_ino == status.st_ino); // the root is its own parent
}

std::uint64_t Sum(const std::vector<std::string>& areas, bool whole) {
    std::set<dev_t> seen;
    std::uint64_t weight = 0;
    FileSystems kinds;
    for (const std::string& area : areas) {
        struct stat status {};
        const scanner::Descriptor folder(::open(area.c_str(), O_PATH | O_CLOEXEC));
        if (!folder || ::fstat(folder.Get(), &status) != 0)
            return 0;
        if (whole && !IsWholeFileSystem(area, status))
            return 0;
        if (kinds.KindOf(status.st_dev, folder.Get()) == FileSystemKind::Virtual || !seen.insert(status.st_dev).second)
            continue;
        struct statfs type {};
        struct statvfs used {};
        // An overlay tells the numbers of what lies below it, and some keep no count of inodes.
        if (::fstatfs(folder.Get(), &type) != 0 || type.f_type == OVERLAYFS_SUPER_MAGIC ||
            ::fstatvfs(folder.Get(), &used) != 0 || used.f_files == 0)
            return 0;
        weight += (used.f_files - used.f_ffree) * FileWeight + (used.f_blocks - used.f_bfree) * used.f_frsize;
    }
    return weight;
}

} // namespace

std::uint64_t WeightInUse(const std::vector<std::string>& areas) { return Sum(areas, true); }
std::uint64_t WeightAround(const std::vector<std::string>& areas) { return Sum(areas, false); }

void WorkCounter::OnFile(const FoundFile& file) {
    const std::uint64_t weight = FileWeight + static_cast<std::uint64_t>(file.status.st_size);
    m_weight += weight;
    if (!m_goOnBehind.empty() && ComparePaths(file.path, m_goOnBehind) <= 0)
        m_before += weight;
}

void WorkCounter::OnOpened(const std::string&, scanner::Descriptor file, FileSystemKind) {
    struct stat status {};
    if (::fstat(file.Get(), &status) == 0)
        m_weight += FileWeight + static_cast<std::uint64_t>(status.st_size);
}

bool WorkCounter::GoOn() {
    if (++m_looks % LooksBetweenTimes == 0 && std::chrono::steady_clock::now() > m_deadline)
        m_gaveUp = true;
    return !m_gaveUp && m_run.GoOn();
}

} // namespace tfs::service::scan
