// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/settings/file_io.h>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs::service::settings {
namespace {

constexpr char AsideSuffix[] = ".damaged";

result_t WriteAll(int fd, std::string_view content) noexcept {
    while (!content.empty()) {
        const ssize_t written = ::write(fd, content.data(), content.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return ulk::ResultFromErrno(errno);
        content.remove_prefix(static_cast<std::size_t>(written));
    }
    return ulk::sOk;
}

/// The rename itself is only safe once its folder is on disk.
result_t SyncFolderOf(const std::string& path) {
    const auto slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const Descriptor fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.Get() < 0 || ::fsync(fd.Get()) != 0)
        return ulk::ResultFromErrno(errno);
    return ulk::sOk;
}

} // namespace

Descriptor::~Descriptor() {
    if (m_fd >= 0)
        ::close(m_fd);
}

result_t WriteFileAtomically(const std::string& path, std::string_view content) noexcept {
    try {
        const std::string fresh = path + ".new";
        {
            const Descriptor fd(
                ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
            if (fd.Get() < 0)
                return ulk::ResultFromErrno(errno);
            result_t result = WriteAll(fd.Get(), content);
            if (ULK_SUCCEEDED(result) && ::fsync(fd.Get()) != 0)
                result = ulk::ResultFromErrno(errno);
            if (!ULK_SUCCEEDED(result)) {
                ::unlink(fresh.c_str());
                return result;
            }
        }
        if (::rename(fresh.c_str(), path.c_str()) != 0) {
            const result_t result = ulk::ResultFromErrno(errno);
            ::unlink(fresh.c_str());
            return result;
        }
        return SyncFolderOf(path);
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    }
}

result_t ReadWholeFile(const std::string& path, std::size_t limit, std::string& content) noexcept {
    content.clear();
    // O_NONBLOCK: a pipe put in the file's place must not hold the start up.
    const Descriptor fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (fd.Get() < 0)
        return errno == ENOENT ? ulk::eFileNotFound : ulk::ResultFromErrno(errno);
    struct stat status {};
    if (::fstat(fd.Get(), &status) != 0)
        return ulk::ResultFromErrno(errno);
    if (!S_ISREG(status.st_mode))
        return ulk::eInvalidType;
    return ReadAll(fd.Get(), limit, content);
}

result_t ReadAll(int fd, std::size_t limit, std::string& content) noexcept {
    content.clear();
    try {
        char buffer[16384];
        for (;;) {
            const ssize_t count = ::read(fd, buffer, sizeof buffer);
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0) {
                content.clear();
                return ulk::ResultFromErrno(errno);
            }
            if (count == 0)
                return ulk::sOk;
            if (content.size() + static_cast<std::size_t>(count) > limit) {
                content.clear();
                return ulk::eInvalidSize;
            }
            content.append(buffer, static_cast<std::size_t>(count));
        }
    } catch (const std::bad_alloc&) {
        content.clear();
        return ulk::eOutOfMemory;
    }
}

bool KeepFileAside(const std::string& path) noexcept {
    try {
        const std::string aside = path + AsideSuffix;
        ::unlink(aside.c_str());
        return ::link(path.c_str(), aside.c_str()) == 0;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

std::string SetFileAside(const std::string& path) noexcept {
    try {
        std::string aside = path + AsideSuffix;
        if (::rename(path.c_str(), aside.c_str()) == 0)
            return aside;
    } catch (const std::bad_alloc&) {
    }
    return {};
}

} // namespace tfs::service::settings
