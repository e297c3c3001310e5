// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/storage/blob_folder.h>
#include <service/storage/failure.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace tfs::service::storage {
namespace {

constexpr std::string_view WholeSuffix = ".object";
constexpr std::string_view PartSuffix = ".part";
constexpr mode_t FolderMode = 0700;
constexpr mode_t FileMode = 0600;

std::string NameOf(BackupId id, std::string_view suffix) { return std::to_string(id) + std::string(suffix); }

std::optional<BackupId> IdIn(std::string_view name) {
    if (!name.ends_with(WholeSuffix))
        return std::nullopt;
    name.remove_suffix(WholeSuffix.size());
    BackupId id = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), id);
    return error == std::errc() && end == name.data() + name.size() && id != 0 && name.front() != '0'
               ? std::optional(id)
               : std::nullopt;
}

struct FolderCloser {
    void operator()(DIR* folder) const noexcept { ::closedir(folder); }
};

} // namespace

template <class Visit>
void BlobFolder::EachEntry(Visit visit) const {
    const int again = ::openat(m_folder.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, FolderCloser> folder(again < 0 ? nullptr : ::fdopendir(again));
    if (!folder)
        throw Failure::OfErrno(errno, "Storage's folder can't be read");
    while (const dirent* entry = ::readdir(folder.get()))
        visit(std::string_view(entry->d_name));
}

void BlobFolder::Open() {
    std::string path = m_path;
    while (path.size() > 1 && path.back() == '/') // a link with a slash behind it would be followed
        path.pop_back();
    if (::mkdir(path.c_str(), FolderMode) != 0 && errno != EEXIST)
        throw Failure::OfErrno(errno, "can't make " + path);
    scanner::Descriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!folder || ::fstat(folder.Get(), &status) != 0)
        throw Failure::OfErrno(errno, path + " is no folder of ours");
    if (status.st_uid != ::geteuid())
        throw Failure(ulk::eAccessDenied, path + " is another user's");
    if ((status.st_mode & 07777u) != FolderMode && ::fchmod(folder.Get(), FolderMode) != 0)
        throw Failure::OfErrno(errno, path + " can't be closed to others");
    m_folder = std::move(folder);
    std::vector<std::string> parts;
    EachEntry([&](std::string_view name) {
        if (name.ends_with(PartSuffix))
            parts.emplace_back(name);
    });
    for (const std::string& name : parts)
        ::unlinkat(m_folder.Get(), name.c_str(), 0);
}

bool BlobFolder::HasRoom(std::uint64_t bytes) const noexcept {
    struct statvfs disk {};
    return ::fstatvfs(m_folder.Get(), &disk) != 0 || disk.f_frsize == 0 || bytes / disk.f_frsize < disk.f_bavail;
}

scanner::Descriptor BlobFolder::Begin(BackupId id) const {
    const std::string name = NameOf(id, PartSuffix);
    scanner::Descriptor blob(
        ::openat(m_folder.Get(), name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, FileMode));
    if (!blob)
        throw Failure::OfErrno(errno, "Storage can't be written");
    return blob;
}

void BlobFolder::Commit(BackupId id, int blob) const {
    if (::fsync(blob) != 0)
        throw Failure::OfErrno(errno, "Storage can't be written");
    if (::renameat(m_folder.Get(), NameOf(id, PartSuffix).c_str(), m_folder.Get(), NameOf(id, WholeSuffix).c_str()) !=
        0)
        throw Failure::OfErrno(errno, "Storage can't be written");
    Sync();
}

void BlobFolder::Sync() const {
    if (::fsync(m_folder.Get()) != 0)
        throw Failure::OfErrno(errno, "Storage's folder can't be written");
}

scanner::Descriptor BlobFolder::Read(BackupId id) const {
    scanner::Descriptor blob(
        ::openat(m_folder.Get(), NameOf(id, WholeSuffix).c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!blob)
        throw Failure::OfErrno(errno, "the object's bytes can't be read");
    struct stat status {};
    if (::fstat(blob.Get(), &status) != 0 || !S_ISREG(status.st_mode))
        throw Failure(ulk::eInvalidState, "the object's bytes aren't in a file");
    return blob;
}

void BlobFolder::Remove(BackupId id) const noexcept {
    char name[64];
    for (const std::string_view suffix : {PartSuffix, WholeSuffix}) {
        (void)std::snprintf(name, sizeof name, "%llu%s", static_cast<unsigned long long>(id), suffix.data());
        ::unlinkat(m_folder.Get(), name, 0);
    }
}

bool BlobFolder::Has(BackupId id) const noexcept {
    char name[64];
    (void)std::snprintf(name, sizeof name, "%llu%s", static_cast<unsigned long long>(id), WholeSuffix.data());
    return ::faccessat(m_folder.Get(), name, F_OK, AT_SYMLINK_NOFOLLOW) == 0;
}

std::vector<BackupId> BlobFolder::List() const {
    std::vector<BackupId> ids;
    EachEntry([&](std::string_view name) {
        if (const auto id = IdIn(name))
            ids.push_back(*id);
    });
    std::sort(ids.begin(), ids.end());
    return ids;
}

} // namespace tfs::service::storage
