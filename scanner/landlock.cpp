// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/scanner_channel.h>
#include <scanner/landlock.h>

#include <cstdint>
#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tfs::scanner {
namespace {

/// Every right of the first version, in which all that follow still know these.
constexpr std::uint64_t AllRights = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1;
constexpr std::uint64_t GrantedRights = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_WRITE_FILE |
                                        LANDLOCK_ACCESS_FS_READ_DIR | LANDLOCK_ACCESS_FS_REMOVE_DIR |
                                        LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_DIR |
                                        LANDLOCK_ACCESS_FS_MAKE_REG;

} // namespace

bool CanLimitFiles() noexcept {
    return ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) > 0;
}

bool LimitFilesTo(const std::string& folder) noexcept {
    landlock_ruleset_attr rules{};
    rules.handled_access_fs = AllRights;
    const Descriptor set(static_cast<int>(::syscall(SYS_landlock_create_ruleset, &rules, sizeof rules, 0u)));
    if (!set)
        return false;
    const Descriptor parent(::open(folder.c_str(), O_PATH | O_CLOEXEC | O_DIRECTORY | O_NOFOLLOW));
    if (!parent)
        return false;
    landlock_path_beneath_attr beneath{};
    beneath.allowed_access = GrantedRights;
    beneath.parent_fd = parent.Get();
    return ::syscall(SYS_landlock_add_rule, set.Get(), LANDLOCK_RULE_PATH_BENEATH, &beneath, 0u) == 0 &&
           ::syscall(SYS_landlock_restrict_self, set.Get(), 0u) == 0;
}

} // namespace tfs::scanner
