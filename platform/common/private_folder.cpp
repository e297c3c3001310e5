// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/common/private_folder.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

/// With a slash at the end the last component would be followed even if it is a link.
std::string WithoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

result_t MakeMissing(const std::string& path) {
    for (std::size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
        const std::string part = path.substr(0, slash);
        if (::mkdir(part.c_str(), 0700) != 0 && errno != EEXIST) {
            // A component that is there may well stand in a folder we can't write to.
            const int error = errno;
            struct stat status {};
            if (::stat(part.c_str(), &status) != 0)
                return ulk::ResultFromErrno(error);
        }
        if (slash == std::string::npos)
            return ulk::sOk;
    }
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
