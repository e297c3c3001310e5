// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/area_access.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <grp.h>
#include <limits.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace tfs::service::tasks {
namespace {

class Descriptor {
public:
    explicit Descriptor(int fd) noexcept : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Get() const noexcept { return m_fd; }

private:
    int m_fd;
};

AreaAccess OpenArea(const std::string& area) {
    // Opening by path alone has no effect on devices and pipes; what is readable is opened through it.
    const Descriptor handle(::open(area.c_str(), O_PATH | O_CLOEXEC));
    if (handle.Get() < 0)
        return {errno, {}};
    struct stat status {};
    if (::fstat(handle.Get(), &status) != 0)
        return {errno, {}};
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode))
        return {EOPNOTSUPP, {}};
    const std::string link = "/proc/self/fd/" + std::to_string(handle.Get());
    const Descriptor content(::open(link.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (content.Get() < 0)
        return {errno, {}};
    std::string path(PATH_MAX, '\0');
    const ssize_t size = ::readlink(link.c_str(), path.data(), path.size());
    if (size < 0)
        return {errno, {}};
    if (static_cast<std::size_t>(size) >= path.size())
        return {ENAMETOOLONG, {}};
    path.resize(static_cast<std::size_t>(size));
    return {0, std::move(path)};
}

struct Identity {
    uid_t uid = 0;
    gid_t gid = 0;
    std::vector<gid_t> groups;
};

/// A user without an entry belongs to no group but the overflow group, which owns nothing.
Identity IdentityOf(uid_t uid) {
    constexpr gid_t Nobody = 65534;
    Identity identity{uid, Nobody, {}};
    std::vector<char> buffer(1024);
    passwd record{};
    passwd* found = nullptr;
    while (::getpwuid_r(uid, &record, buffer.data(), buffer.size(), &found) == ERANGE && buffer.size() < 1024 * 1024)
        buffer.resize(buffer.size() * 2);
    if (found == nullptr)
        return identity;
    identity.gid = record.pw_gid;
    int count = 64;
    identity.groups.resize(static_cast<std::size_t>(count));
    while (::getgrouplist(record.pw_name, record.pw_gid, identity.groups.data(), &count) < 0 &&
           count > static_cast<int>(identity.groups.size()) && count <= NGROUPS_MAX)
        identity.groups.resize(static_cast<std::size_t>(count));
    identity.groups.resize(std::min(static_cast<std::size_t>(count), identity.groups.size()));
    return identity;
}

/// Changes the calling thread's rights on files, and only these: the system calls themselves act on one thread, the
/// library's functions of the same names on all. Leaving uid 0 drops the override capabilities with it.
bool TakeOn(const Identity& identity) noexcept {
    if (::syscall(SYS_setgroups, identity.groups.size(), identity.groups.data()) != 0)
        return false;
    ::syscall(SYS_setfsgid, identity.gid);
    ::syscall(SYS_setfsuid, identity.uid);
    constexpr long Query = -1;
    return ::syscall(SYS_setfsgid, Query) == static_cast<long>(identity.gid) &&
           ::syscall(SYS_setfsuid, Query) == static_cast<long>(identity.uid);
}

} // namespace

AreaAccess CheckArea(const std::string& area, std::optional<std::uint32_t> uid) {
    if (!uid || *uid == ::geteuid())
        return OpenArea(area);
    if (::geteuid() != 0)
        return {EACCES, {}};
    const Identity identity = IdentityOf(*uid);
    AreaAccess access{EACCES, {}};
    // A thread of its own, so that nothing has to be given back.
    std::thread([&] {
        if (TakeOn(identity))
            access = OpenArea(area);
    }).join();
    return access;
}

} // namespace tfs::service::tasks
