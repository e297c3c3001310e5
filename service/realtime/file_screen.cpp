// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/realtime/file_screen.h>
#include <service/scan/mount_table.h>

#include <algorithm>
#include <climits>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace tfs::service::realtime {
namespace {

/// What the kernel puts behind the name of a file that has none any more.
constexpr std::string_view Deleted = " (deleted)";

bool ReadName(int file, bool hasName, std::string& path) {
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    path.resize(PATH_MAX);
    const ssize_t size = ::readlink(link.c_str(), path.data(), path.size());
    if (size <= 0)
        return false;
    path.resize(static_cast<std::size_t>(size));
    if (!hasName && path.ends_with(Deleted))
        path.resize(path.size() - Deleted.size());
    return true;
}

} // namespace

FileScreen::FileScreen(const Options& options)
    : m_areas(options.areas), m_exclusions(options.excludedPaths, options.excludedMasks),
      m_maxFileSize(options.maxFileSize), m_self(::getpid()), m_programs(options.programs) {}

void FileScreen::SetFileSystems(std::set<dev_t> devices) {
    const ulk::LockGuard lock(m_lock);
    m_devices = std::move(devices);
}

bool FileScreen::Covers(const std::string& path) const {
    return std::any_of(m_areas.begin(), m_areas.end(),
                       [&](const std::string& area) { return path == area || scan::IsBelow(path, area); });
}

bool FileScreen::Wants(const AccessEvent& event, SeenFile& file) {
    return event.process != m_self && Wants(event.file.Get(), file) && !m_programs.Runs(event.process);
}

bool FileScreen::Wants(int file, SeenFile& seen) {
    if (::fstat(file, &seen.status) != 0 || !S_ISREG(seen.status.st_mode) || seen.status.st_size == 0)
        return false;
    if (m_maxFileSize != 0 && static_cast<std::uint64_t>(seen.status.st_size) > m_maxFileSize)
        return false;
    ::clock_gettime(CLOCK_REALTIME_COARSE, &seen.takenAt);
    if (!ReadName(file, seen.status.st_nlink > 0, seen.path))
        return false;
    bool isInside = Covers(seen.path);
    if (!isInside) {
        const ulk::LockGuard lock(m_lock);
        isInside = m_devices.contains(seen.status.st_dev);
    }
    return isInside && !IsExcluded(seen.path);
}

} // namespace tfs::service::realtime
