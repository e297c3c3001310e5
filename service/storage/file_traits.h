// SPDX-License-Identifier: GPL-2.0-or-later
// What belongs to a file beside its bytes and its name, taken from one file and given to another.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace tfs::service::storage {

struct Moment {
    std::int64_t seconds = 0; ///< since 1970
    std::int64_t nanoseconds = 0;
    friend bool operator==(const Moment&, const Moment&) = default;
};

struct FileTraits {
    std::uint64_t size = 0; ///< bytes
    std::uint32_t mode = 0; ///< the permission bits with setuid, setgid and sticky
    std::uint32_t uid = 0;
    std::uint32_t gid = 0;
    Moment accessed;
    Moment modified;
    /// Extended attributes as name and value; among them the access control list and the capabilities.
    std::vector<std::pair<std::string, std::string>> attributes;
    friend bool operator==(const FileTraits&, const FileTraits&) = default;
};

Moment MomentOf(const timespec& time) noexcept;

/// `status` is of the same file. Attributes that the file system doesn't tell are left out. Throws Failure.
FileTraits TraitsOf(int file, const struct stat& status);

/// Gives a new file all but its bytes, on a thread that has the rights of `user`; empty: the service's own. What gives
/// a program more rights than the one who starts it has (setuid, setgid, capabilities) is given only where owner and
/// group are as they were, capabilities by the service alone; where the access control list can't be had, the group
/// gets nothing. Throws Failure.
void GiveTraits(int file, const FileTraits& traits, std::optional<std::uint32_t> user);

} // namespace tfs::service::storage
