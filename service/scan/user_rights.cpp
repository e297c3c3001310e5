// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/user_rights.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <grp.h>
#include <limits.h>
#include <linux/capability.h>
#include <pwd.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace tfs::service::scan {
namespace {

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

/// Whether the calling thread may still read what its user may not.
bool OverridesRights() noexcept {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> sets{};
    if (::syscall(SYS_capget, &header, sets.data()) != 0)
        return true;
    constexpr unsigned Overriding = 1u << CAP_DAC_OVERRIDE | 1u << CAP_DAC_READ_SEARCH;
    return (sets[0].effective & Overriding) != 0;
}

} // namespace

int TakeOnRights(std::optional<std::uint32_t> uid) noexcept {
    if (!uid || *uid == ::geteuid())
        return 0;
    if (::geteuid() != 0)
        return EACCES;
    try {
        const Identity identity = IdentityOf(*uid);
        // The system calls themselves act on one thread, the library's functions of the same names on all. Leaving
        // user 0 takes the privileges that override rights on files with it.
        if (::syscall(SYS_setgroups, identity.groups.size(), identity.groups.data()) != 0)
            return errno;
        ::syscall(SYS_setfsgid, identity.gid);
        ::syscall(SYS_setfsuid, identity.uid);
        constexpr long Query = -1;
        const bool taken = ::syscall(SYS_setfsgid, Query) == static_cast<long>(identity.gid) &&
                           ::syscall(SYS_setfsuid, Query) == static_cast<long>(identity.uid);
        return taken && !OverridesRights() ? 0 : EACCES;
    } catch (const std::exception&) {
        return ENOMEM;
    }
}

int RunWithRights(std::optional<std::uint32_t> uid, const std::function<void()>& work) {
    if (!uid || *uid == ::geteuid()) {
        work();
        return 0;
    }
    int error = 0;
    std::exception_ptr thrown;
    std::thread([&] {
        error = TakeOnRights(uid);
        if (error != 0)
            return;
        try {
            work();
        } catch (...) {
            thrown = std::current_exception();
        }
    }).join();
    if (thrown)
        std::rethrow_exception(thrown);
    return error;
}

} // namespace tfs::service::scan
