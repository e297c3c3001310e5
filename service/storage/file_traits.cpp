// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/storage/failure.h>
#include <service/storage/file_traits.h>

#include <cerrno>
#include <linux/limits.h>
#include <string_view>
#include <sys/xattr.h>
#include <unistd.h>

namespace tfs::service::storage {
namespace {

constexpr std::string_view AccessList = "system.posix_acl_access";
constexpr std::string_view UserSpace = "user.";

/// What `call` gives with a buffer that is large enough; false where it gives nothing.
template <class Call>
bool ReadGrowing(std::string& value, Call call) {
    for (value.resize(256);; value.resize(value.size() * 4)) {
        const ssize_t size = call(value.data(), value.size());
        if (size >= 0) {
            value.resize(static_cast<std::size_t>(size));
            return true;
        }
        if (errno != ERANGE || value.size() > XATTR_LIST_MAX)
            return false;
    }
}

std::vector<std::pair<std::string, std::string>> AttributesOf(int file) {
    std::vector<std::pair<std::string, std::string>> attributes;
    std::string names;
    if (!ReadGrowing(names, [file](char* buffer, std::size_t size) { return ::flistxattr(file, buffer, size); }))
        return attributes;
    for (std::size_t at = 0; at < names.size(); at = names.find('\0', at) + 1) {
        const char* name = names.c_str() + at;
        std::string value;
        if (ReadGrowing(value,
                        [file, name](char* buffer, std::size_t size) { return ::fgetxattr(file, name, buffer, size); }))
            attributes.emplace_back(name, std::move(value));
    }
    return attributes;
}

/// A user gives what every user may give. Whatever else there is, is the system's.
bool MayGive(std::string_view attribute, bool isUser) noexcept {
    return !isUser || attribute == AccessList || attribute.starts_with(UserSpace);
}

/// True where the file has the list that it had, or none as before.
bool GiveAttributes(int file, const FileTraits& traits, bool isUser, bool isOwner) {
    bool hasList = false;
    bool isListed = true;
    for (const auto& [name, value] : traits.attributes) {
        if (!MayGive(name, isUser) || (!isOwner && !name.starts_with(UserSpace) && name != AccessList))
            continue;
        const bool given = ::fsetxattr(file, name.c_str(), value.data(), value.size(), 0) == 0;
        if (name == AccessList) {
            hasList = true;
            isListed = given;
        }
    }
    if (!hasList) // one that was inherited from the folder
        (void)::fremovexattr(file, AccessList.data());
    return isListed;
}

timespec TimeOf(const Moment& moment) noexcept {
    timespec time{};
    time.tv_sec = moment.seconds;
    time.tv_nsec = moment.nanoseconds;
    return time;
}

} // namespace

Moment MomentOf(const timespec& time) noexcept { return {time.tv_sec, time.tv_nsec}; }

FileTraits TraitsOf(int file, const struct stat& status) {
    FileTraits traits;
    traits.size = static_cast<std::uint64_t>(status.st_size);
    traits.mode = status.st_mode & 07777u;
    traits.uid = status.st_uid;
    traits.gid = status.st_gid;
    traits.accessed = MomentOf(status.st_atim);
    traits.modified = MomentOf(status.st_mtim);
    traits.attributes = AttributesOf(file);
    return traits;
}

void GiveTraits(int file, const FileTraits& traits, std::optional<std::uint32_t> user) {
    constexpr unsigned OthersRights = S_ISUID | S_ISGID;
    if (::fchown(file, traits.uid, traits.gid) != 0 &&
        ::fchown(file, static_cast<uid_t>(-1), traits.gid) != 0) { // neither may be given: what follows looks at it
    }
    struct stat status {};
    if (::fstat(file, &status) != 0)
        throw Failure::OfErrno(errno, "the new file can't be looked at");
    const bool isOwner = status.st_uid == traits.uid && status.st_gid == traits.gid;
    unsigned mode = traits.mode & 07777u;
    if (!isOwner)
        mode &= ~OthersRights;
    if (!GiveAttributes(file, traits, user.has_value(), isOwner))
        mode &= ~static_cast<unsigned>(S_IRWXG);
    // Behind the owner, whose change takes these bits, and behind the list, whose mask is the group's part.
    if (::fchmod(file, mode) != 0)
        throw Failure::OfErrno(errno, "the rights of the new file can't be set");
    const timespec times[] = {TimeOf(traits.accessed), TimeOf(traits.modified)};
    (void)::futimens(file, times); // a file system without these times has none to lose
}

} // namespace tfs::service::storage
