// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app/folders.h>

#include <cerrno>
#include <new>
#include <sys/stat.h>

namespace tfs::service::app {
namespace {

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
        std::string plain = path;
        while (plain.size() > 1 && plain.back() == '/')
            plain.pop_back();
        for (std::size_t slash = plain.find('/', 1); slash != std::string::npos; slash = plain.find('/', slash + 1))
            if (const result_t result = MakeOne(plain.substr(0, slash), 0755); !ULK_SUCCEEDED(result))
                return result;
        return MakeOne(plain, mode);
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    }
}

std::string FolderOf(const std::string& path) {
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

} // namespace tfs::service::app
