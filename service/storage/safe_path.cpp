// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/storage/failure.h>
#include <service/storage/safe_path.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <linux/openat2.h>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>

namespace tfs::service::storage {
namespace {

/// Longer paths than the system takes at once are walked in steps.
constexpr std::size_t LongestStep = 2048;

int OpenStep(int folder, const std::string& path) noexcept {
    open_how how{};
    how.flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
    how.resolve = RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    for (int tries = 0;; ++tries) {
        const long opened = ::syscall(SYS_openat2, folder, path.c_str(), &how, sizeof how);
        constexpr int MostTries = 20; // the kernel gives up where somebody renames on the way
        if (opened >= 0 || (errno != EAGAIN && errno != EINTR) || tries == MostTries)
            return static_cast<int>(opened);
    }
}

bool IsPlain(std::string_view path) {
    if (path.empty() || path.front() != '/' || path.back() == '/' || path.find('\0') != std::string_view::npos)
        return false;
    while (!path.empty()) {
        path.remove_prefix(1);
        const std::string_view part = path.substr(0, path.find('/'));
        if (part == "." || part == "..")
            return false;
        path.remove_prefix(part.size());
    }
    return true;
}

std::string PathOfKernel(int file) {
    std::array<char, PATH_MAX> buffer{};
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    const ssize_t size = ::readlink(link.c_str(), buffer.data(), buffer.size());
    return size <= 0 || static_cast<std::size_t>(size) == buffer.size()
               ? std::string()
               : std::string(buffer.data(), static_cast<std::size_t>(size));
}

} // namespace

FolderPlace FolderPlace::Open(const std::string& path) {
    if (!IsPlain(path))
        throw Failure(eNotAbsolutePath, "the path isn't absolute");
    const std::size_t nameAt = path.rfind('/') + 1;
    scanner::Descriptor folder(OpenStep(AT_FDCWD, "/"));
    for (std::size_t at = 1; folder && at < nameAt;) {
        std::size_t end = nameAt - at <= LongestStep ? nameAt : path.rfind('/', at + LongestStep) + 1;
        if (end <= at) // one name that is too long for any system
            end = nameAt;
        folder.Reset(OpenStep(folder.Get(), path.substr(at, end - at)));
        at = end;
    }
    if (folder)
        return {path, nameAt, std::move(folder)};
    if (errno == ENOENT || errno == ENOTDIR || errno == ELOOP || errno == ENAMETOOLONG)
        throw Failure(ulk::ePathNotFound, "its folder is missing");
    throw Failure::OfErrno(errno, "its folder can't be reached");
}

std::optional<FileIdentity> FolderPlace::Look() const {
    struct stat status {};
    if (::fstatat(Folder(), Name(), &status, AT_SYMLINK_NOFOLLOW) == 0)
        return FileIdentity::Of(status);
    if (errno == ENOENT)
        return std::nullopt;
    throw Failure::OfErrno(errno, "its name can't be looked at");
}

bool FolderPlace::RemoveIf(const FileIdentity& file) const {
    const auto found = Look();
    if (!found || !found->IsSameFile(file))
        return false;
    if (::unlinkat(Folder(), Name(), 0) == 0)
        return true;
    if (errno == ENOENT)
        return false;
    throw Failure::OfErrno(errno, "the file can't be removed");
}

void FolderPlace::Sync() const noexcept {
    const scanner::Descriptor folder(::openat(Folder(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder)
        ::fsync(folder.Get());
}

std::optional<FolderPlace> FindPlace(int file, const std::string& path, const FileIdentity& identity,
                                     result_t& denied) {
    denied = ulk::sOk;
    for (const std::string& each : {path, PathOfKernel(file)})
        try {
            FolderPlace place = FolderPlace::Open(each);
            const auto found = place.Look();
            if (found && found->IsSameFile(identity))
                return place;
        } catch (const Failure& failure) {
            if (failure.Code() == ulk::eAccessDenied)
                denied = failure.Code();
        }
    return std::nullopt;
}

} // namespace tfs::service::storage
