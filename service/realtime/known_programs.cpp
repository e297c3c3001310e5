// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/realtime/known_programs.h>
#include <service/scan/mount_table.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs::service::realtime {
namespace {

/// What the kernel puts behind the name of a program whose file was replaced.
constexpr std::string_view Deleted = " (deleted)";

std::string Resolved(const std::string& path) {
    const std::unique_ptr<char, void (*)(void*)> resolved(::realpath(path.c_str(), nullptr), std::free);
    return resolved ? resolved.get() : std::string();
}

} // namespace

KnownPrograms::KnownPrograms(const std::vector<std::string>& paths) {
    const std::vector<scan::MountEntry> mounts = scan::ParseMountTable(scan::ReadMountTable());
    const ulk::LockGuard lock(m_lock);
    for (const std::string& path : paths) {
        std::string program = Resolved(path);
        const scan::MountEntry* mount = scan::MountOf(program, mounts);
        Identity identity;
        if (mount != nullptr && scan::IsLocalType(mount->type) && Look(program, identity))
            m_programs.emplace(std::move(program), identity);
    }
}

bool KnownPrograms::Look(const std::string& path, Identity& identity) noexcept {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0)
        return false;
    identity = {status.st_dev, status.st_ino};
    return true;
}

bool KnownPrograms::Runs(pid_t process) {
    const std::string link = "/proc/" + std::to_string(process) + "/exe";
    std::string path(PATH_MAX, '\0');
    const ssize_t size = ::readlink(link.c_str(), path.data(), path.size());
    if (size <= 0)
        return false;
    path.resize(static_cast<std::size_t>(size));
    if (path.ends_with(Deleted))
        path.resize(path.size() - Deleted.size());
    const ulk::LockGuard lock(m_lock);
    const auto found = m_programs.find(path);
    Identity running;
    if (found == m_programs.end() || !Look(link, running))
        return false;
    if (running == found->second)
        return true;
    // Replaced by an upgrade, perhaps; then the name leads to the new one.
    Identity current;
    if (!Look(path, current) || running != current)
        return false;
    found->second = current;
    return true;
}

} // namespace tfs::service::realtime
