// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/common/private_folder.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr mode_t kParentMode = 0755;
constexpr mode_t kPrivateMode = 0700;

/// With a slash at the end the last component would be followed even if it is a link.
std::string WithoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

bool Exists(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0;
}

/// Opens a folder on the way for everybody to pass through, whatever the umask: other users' folders may come to lie
/// beside ours. A link that was put there meanwhile isn't followed.
result_t OpenUp(const std::string& folder) {
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return ulk::ResultFromErrno(errno);
    const int error = ::fchmod(fd, kParentMode) == 0 ? 0 : errno;
    ::close(fd);
    return ulk::ResultFromErrno(error);
}

result_t MakeParents(const std::string& path) {
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
        const std::string parent = path.substr(0, slash);
        if (::mkdir(parent.c_str(), kParentMode) == 0) {
            if (const result_t opened = OpenUp(parent); ULK_FAILED(opened))
                return opened;
        } else if (const int error = errno; error != EEXIST && !Exists(parent)) {
            // One that is there may well stand in a folder that we can't write to.
            return ulk::ResultFromErrno(error);
        }
    }
    return ulk::sOk;
}

result_t MakeMissing(const std::string& path) {
    if (const result_t made = MakeParents(path); ULK_FAILED(made))
        return made;
    if (::mkdir(path.c_str(), kPrivateMode) != 0)
        if (const int error = errno; error != EEXIST && !Exists(path))
            return ulk::ResultFromErrno(error);
    return ulk::sOk;
}

} // namespace

result_t EnsurePrivateFolder(const std::string& folder) {
    const std::string path = WithoutTrailingSlashes(folder);
    if (path.empty())
        return ulk::eInvalidArgument;
    if (const result_t made = MakeMissing(path); ULK_FAILED(made))
        return made;
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0)
        return ulk::ResultFromErrno(errno);
    if (S_ISLNK(status.st_mode))
        return ulk::eAccessDenied;
    if (!S_ISDIR(status.st_mode))
        return ulk::ResultFromErrno(ENOTDIR);
    if (status.st_uid != ::geteuid() || (status.st_mode & S_IWOTH) != 0)
        return ulk::eAccessDenied;
    return ulk::sOk;
}

result_t CheckOwnFile(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0)
        return errno == ENOENT ? ulk::sOk : ulk::ResultFromErrno(errno);
    if (S_ISLNK(status.st_mode))
        return ulk::eAccessDenied;
    if (!S_ISREG(status.st_mode))
        return ulk::eInvalidType;
    if (status.st_uid != ::geteuid() || status.st_nlink > 1)
        return ulk::eAccessDenied;
    return ulk::sOk;
}

std::string JoinPath(const std::string& folder, const std::string& name) {
    return folder.empty() || folder.back() == '/' ? folder + name : folder + '/' + name;
}

} // namespace platform
