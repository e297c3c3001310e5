// SPDX-License-Identifier: GPL-2.0-or-later
#include <scanner/file_source.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace tfs::scanner {
namespace {

constexpr std::size_t ReadStep = std::size_t{4} << 20;

bool SameTime(const timespec& a, const timespec& b) noexcept { return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec; }

} // namespace

void FileSource::Note(SourceTrouble trouble, std::string detail) {
    if (m_trouble != SourceTrouble::None)
        return;
    m_trouble = trouble;
    m_detail = std::move(detail);
}

bool FileSource::Begin() {
    if (::fstat(m_descriptor, &m_before) != 0) {
        Note(SourceTrouble::ReadError, std::strerror(errno));
        return false;
    }
    if (!S_ISREG(m_before.st_mode)) {
        Note(SourceTrouble::ReadError, "not a regular file");
        return false;
    }
    return true;
}

bool FileSource::ReadWhole(std::span<char> buffer) {
    const std::size_t size = static_cast<std::size_t>(Size());
    // One byte more than the file says: a file that grows, or one without a size (as under /proc), shows here.
    while (m_bytes <= size) {
        if (!m_monitor.GoOn(m_bytes)) {
            Note(SourceTrouble::Cancelled, {});
            return false;
        }
        const std::size_t count = std::min<std::size_t>(size + 1 - m_bytes, ReadStep);
        const ssize_t got = ::pread(m_descriptor, buffer.data() + m_bytes, count, static_cast<off_t>(m_bytes));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0) {
            Note(SourceTrouble::ReadError, std::strerror(errno));
            return false;
        }
        if (got == 0)
            break;
        m_bytes += static_cast<std::uint64_t>(got);
    }
    if (m_bytes != size) {
        Note(SourceTrouble::Changed, m_bytes < size ? "shorter than its size" : "longer than its size");
        m_bytes = std::min<std::uint64_t>(m_bytes, size);
        return false;
    }
    return true;
}

off_t FileSource::Read(void* buffer, std::size_t count, off_t offset) noexcept {
    std::size_t done = 0;
    while (done < count) {
        if (!m_monitor.GoOn(m_bytes)) {
            Note(SourceTrouble::Cancelled, {});
            errno = ECANCELED;
            return -1;
        }
        const ssize_t got = ::pread(m_descriptor, static_cast<char*>(buffer) + done, std::min(count - done, ReadStep),
                                    offset + static_cast<off_t>(done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0) {
            const int error = errno;
            Note(SourceTrouble::ReadError, std::strerror(error));
            errno = error;
            return -1;
        }
        if (got == 0)
            break;
        done += static_cast<std::size_t>(got);
    }
    const std::uint64_t end = static_cast<std::uint64_t>(offset) + done;
    if (done < count && end < Size())
        Note(SourceTrouble::Changed, "shorter than its size");
    m_bytes = std::max(m_bytes, std::min(end, Size()));
    return static_cast<off_t>(done);
}

void FileSource::End() {
    struct stat after {};
    if (::fstat(m_descriptor, &after) != 0)
        Note(SourceTrouble::ReadError, std::strerror(errno));
    else if (after.st_size != m_before.st_size || !SameTime(after.st_mtim, m_before.st_mtim) ||
             !SameTime(after.st_ctim, m_before.st_ctim))
        Note(SourceTrouble::Changed, "changed while it was read");
}

} // namespace tfs::scanner
