// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/settings/file_io.h>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tfs::service::settings {
namespace {

constexpr char AsideSuffix[] = ".damaged";
constexpr char FreshSuffix[] = ".new";

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

std::string FolderOf(const std::string& path) {
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

} // namespace

Descriptor::~Descriptor() {
    if (m_fd >= 0)
        ::close(m_fd);
}

FileReplacement::FileReplacement(std::string path, OldFile oldFile)
    : m_path(std::move(path)), m_aside(oldFile == OldFile::SetAside ? m_path + AsideSuffix : std::string()),
      m_fresh((m_aside.empty() ? m_path : m_aside) + FreshSuffix) {}

FileReplacement::~FileReplacement() {
    if (m_isFreshThere)
        ::unlink(m_fresh.c_str());
}

result_t FileReplacement::Write(std::string_view content) noexcept {
    try {
        // Opened now: nothing but the disk itself may fail behind the renaming.
        m_folder.emplace(::open(FolderOf(m_path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    }
    if (m_folder->Get() < 0)
        return ulk::ResultFromErrno(errno);
    const Descriptor fd(
        ::open(m_fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (fd.Get() < 0)
        return ulk::ResultFromErrno(errno);
    m_isFreshThere = true;
    const result_t result = WriteAll(fd.Get(), content);
    return ULK_SUCCEEDED(result) && ::fsync(fd.Get()) != 0 ? ulk::ResultFromErrno(errno) : result;
}

result_t FileReplacement::Commit() noexcept {
    if (!m_aside.empty() && SwapWithOld())
        return SetOldAside();
    // There may be no old file any more, which leaves nothing to keep.
    if ((!m_aside.empty() && errno != ENOENT) || ::rename(m_fresh.c_str(), m_path.c_str()) != 0)
        return ulk::ResultFromErrno(errno);
    m_isFreshThere = false;
    return ulk::sOk;
}

/// At no moment is the path without a file, and at none the old content without a name.
bool FileReplacement::SwapWithOld() const noexcept {
    return ::renameat2(AT_FDCWD, m_fresh.c_str(), AT_FDCWD, m_path.c_str(), RENAME_EXCHANGE) == 0;
}

result_t FileReplacement::SetOldAside() noexcept {
    m_isFreshThere = false; // it has the new file's place, and the old one has its
    if (::rename(m_fresh.c_str(), m_aside.c_str()) == 0)
        return ulk::sOk;
    const result_t result = ulk::ResultFromErrno(errno);
    m_isFreshThere = SwapWithOld();
    return m_isFreshThere ? result : ulk::sOk;
}

result_t FileReplacement::Sync() noexcept {
    return ::fsync(m_folder->Get()) == 0 ? ulk::sOk : ulk::ResultFromErrno(errno);
}

result_t WriteFileAtomically(const std::string& path, std::string_view content) noexcept {
    try {
        FileReplacement replacement(path, OldFile::Drop);
        if (const result_t written = replacement.Write(content); !ULK_SUCCEEDED(written))
            return written;
        if (const result_t committed = replacement.Commit(); !ULK_SUCCEEDED(committed))
            return committed;
        return replacement.Sync();
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
