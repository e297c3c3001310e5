// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app/folders.h>

#include <cerrno>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs::service::app {
namespace {

constexpr mode_t SharedMode = 01777;

std::string WithoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

result_t MakeOne(const std::string& path, mode_t mode) {
    if (::mkdir(path.c_str(), mode) == 0)
        return ::chmod(path.c_str(), mode) == 0 ? ulk::sOk : ulk::ResultFromErrno(errno);
    if (errno != EEXIST)
        return ulk::ResultFromErrno(errno);
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0)
        return ulk::ResultFromErrno(errno);
    return S_ISDIR(status.st_mode) ? ulk::sOk : ulk::eInvalidType;
}

} // namespace

result_t MakeFolder(const std::string& path, mode_t mode) noexcept {
    try {
        const std::string plain = WithoutTrailingSlashes(path);
        for (std::size_t slash = plain.find('/', 1); slash != std::string::npos; slash = plain.find('/', slash + 1))
            if (const result_t result = MakeOne(plain.substr(0, slash), 0755); !ULK_SUCCEEDED(result))
                return result;
        return MakeOne(plain, mode);
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    }
}

result_t MakeSharedFolder(const std::string& path) noexcept {
    try {
        if (const result_t result = MakeFolder(path, SharedMode); !ULK_SUCCEEDED(result))
            return result;
        const int folder =
            ::open(WithoutTrailingSlashes(path).c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (folder < 0)
            return errno == ELOOP || errno == ENOTDIR ? ulk::eInvalidType : ulk::ResultFromErrno(errno);
        struct stat status {};
        result_t result = ulk::sOk;
        if (::fstat(folder, &status) != 0)
            result = ulk::ResultFromErrno(errno);
        else if (status.st_uid != ::geteuid())
            result = ulk::eAccessDenied;
        else if (::fchmod(folder, SharedMode) != 0)
            result = ulk::ResultFromErrno(errno);
        ::close(folder);
        return result;
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    }
}

std::string FolderOf(const std::string& path) {
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

} // namespace tfs::service::app
