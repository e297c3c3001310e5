// SPDX-License-Identifier: GPL-2.0-or-later
#include <scanner/landlock.h>
#include <scanner/private_root.h>

#include <algorithm>
#include <cap-ng.h>
#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <grp.h>
#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace tfs::scanner {
namespace {

constexpr char DefaultMountPoint[] = "/dev/shm";
constexpr char AccountName[] = "tesl-scanner";
constexpr char FallbackAccountName[] = "nobody";

[[noreturn]] void Fail(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

bool WriteText(const char* path, const std::string& text) {
    const int file = ::open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return false;
    const bool written = ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    ::close(file);
    return written;
}

/// A user namespace in which this user is himself, so that an ordinary user too can mount and change the root.
bool EnterUserNamespace() {
    const uid_t user = ::getuid();
    const gid_t group = ::getgid();
    if (::unshare(CLONE_NEWUSER) != 0)
        return false;
    return WriteText("/proc/self/setgroups", "deny") &&
           WriteText("/proc/self/uid_map", std::to_string(user) + " " + std::to_string(user) + " 1") &&
           WriteText("/proc/self/gid_map", std::to_string(group) + " " + std::to_string(group) + " 1");
}

bool MountPrivate(const std::string& point, std::uint64_t bytes) {
    if (::unshare(CLONE_NEWNS | CLONE_NEWNET | CLONE_NEWIPC) != 0)
        return false;
    if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return false;
    const std::string options = "mode=0755,nr_inodes=200000,size=" + std::to_string(bytes);
    return ::mount("tesl-scanner", point.c_str(), "tmpfs", MS_NOSUID | MS_NODEV | MS_NOEXEC, options.c_str()) == 0;
}

std::uint64_t QuarterOfMemory() {
    return static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)) /
           4;
}

struct Account {
    uid_t user;
    gid_t group;
};

Account FindAccount() {
    for (const char* name : {AccountName, FallbackAccountName})
        if (const passwd* entry = ::getpwnam(name); entry != nullptr && entry->pw_uid != 0)
            return {entry->pw_uid, entry->pw_gid};
    return {65534, 65534};
}

/// True where user 0 is the machine's root and not an ordinary user's namesake inside a container.
bool IsRealRoot() {
    std::uint64_t inside = 0;
    std::uint64_t outside = 0;
    std::ifstream map("/proc/self/uid_map");
    return !(map >> inside >> outside) || (inside == 0 && outside == 0);
}

/// For good: afterwards nothing of root is left to come back to.
void BecomeAccount(const Account& account) {
    if (::setgroups(0, nullptr) != 0)
        Fail("setgroups");
    if (::setresgid(account.group, account.group, account.group) != 0)
        Fail("setresgid");
    if (::setresuid(account.user, account.user, account.user) != 0)
        Fail("setresuid");
    if (::setuid(0) == 0 || ::getuid() != account.user || ::geteuid() != account.user) {
        errno = EPERM;
        Fail("root rights were not lost");
    }
}

/// Needs CAP_SETPCAP, and so comes before other rights go; without new privileges nothing comes from the set anyway.
void EmptyBoundingSet() {
    capng_clear(CAPNG_SELECT_BOUNDS);
    capng_apply(CAPNG_SELECT_BOUNDS);
}

void DropCapabilities() {
    capng_clear(CAPNG_SELECT_ALL);
    if (capng_apply(CAPNG_SELECT_CAPS) != 0)
        Fail("capabilities");
    ::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);
}

} // namespace

PrivateRoot EnterPrivateRoot(const Settings& settings) {
    PrivateRoot root;
    const bool asRoot = ::geteuid() == 0;
    const bool realRoot = IsRealRoot(); // asked while /proc is in sight
    const Account account = asRoot ? FindAccount() : Account{::getuid(), ::getgid()};
    const bool ownUsers = !asRoot && EnterUserNamespace();
    const std::string point = settings.mountPoint.empty() ? DefaultMountPoint : settings.mountPoint;
    root.mounted = (asRoot || ownUsers) && MountPrivate(point, std::min(settings.temporarySize, QuarterOfMemory()));
    root.folder = root.mounted ? point : settings.temporaryFolder;
    if (!root.mounted && ::mkdir(root.folder.c_str(), 0700) != 0)
        Fail("temporary folder");
    // Who may make an entry need not be able to list the others': each worker's folder has a name that can't be
    // guessed.
    if (asRoot && ::chmod(root.folder.c_str(), 01733) != 0)
        Fail("temporary folder");
    if ((asRoot || ownUsers) && ::chroot(root.folder.c_str()) == 0) {
        if (::chdir("/") != 0)
            Fail("chdir");
        root.changedRoot = true;
        root.folder.assign(1, '/'); // not = "/": gcc 12 warns of an overlap that isn't there
    }
    EmptyBoundingSet();
    if (asRoot) {
        try {
            BecomeAccount(account);
            root.otherAccount = true;
        } catch (const std::system_error&) {
            if (realRoot) // a container may know no other account; the machine always does
                throw;
        }
    }
    DropCapabilities();
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        Fail("no_new_privs");
    ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
    root.description = std::string(root.mounted ? "private tmpfs, own network" : "shared temporary folder") +
                       (root.changedRoot ? ", empty root" : "") + (root.otherAccount ? ", own account" : "") +
                       (CanLimitFiles() ? ", own files only" : "");
    return root;
}

} // namespace tfs::scanner
