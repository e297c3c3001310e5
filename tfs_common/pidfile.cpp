// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <tfs_common/export/tfs_common/pidfile.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs {
namespace {

constexpr char kSource[] = "tfs_common/pidfile";
constexpr int kReleased = -2;

[[noreturn]] void ThrowOpen(int line, const std::string& path, int error) {
    ulk::check::Throw(kSource, line, ulk::eUnspecified, "Could not open pid: " + path + ": " + std::strerror(error));
}

/// A file in a folder that everybody may write to is trusted only if nobody else can have laid it there: otherwise
/// truncating it could empty another file of the user's, or its number could name any process.
bool IsOurs(const struct stat& status) {
    return S_ISREG(status.st_mode) && status.st_uid == ::geteuid() && status.st_nlink <= 1;
}

/// Closes the descriptor when a constructor throws, since no destructor runs then.
class FdGuard {
public:
    explicit FdGuard(int& fd) : m_fd(fd) {}
    ~FdGuard() {
        if (m_armed && m_fd >= 0)
            ::close(m_fd);
    }
    FdGuard(const FdGuard&) = delete;
    FdGuard& operator=(const FdGuard&) = delete;
    void Disarm() { m_armed = false; }

private:
    int& m_fd;
    bool m_armed = true;
};

} // namespace

PidFile::PidFile(const std::string& path, bool tryOnly) : m_path(path) {
    FdGuard guard(m_fd);
    for (;;) {
        Open();
        m_owner = TryLock(tryOnly);
        if (!m_owner)
            break;
        // The last owner may have removed the file between our open and our lock; what we hold then is a file without
        // a name, which would keep nobody out.
        struct stat status {};
        if (::fstat(m_fd, &status) == 0 && status.st_nlink > 0) {
            WritePid();
            break;
        }
        ::close(m_fd);
        m_fd = -1;
    }
    guard.Disarm();
}

PidFile::~PidFile() {
    if (m_owner) {
        ::unlink(m_path.c_str());
        ::flock(m_fd, LOCK_UN);
    }
    if (m_fd != -1 && m_fd != kReleased)
        ::close(m_fd);
    m_fd = kReleased;
}

void PidFile::Open() {
    m_fd = ::open(m_path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (m_fd == -1)
        ThrowOpen(__LINE__, m_path, errno);
    struct stat status {};
    if (::fstat(m_fd, &status) != 0)
        ThrowOpen(__LINE__, m_path, errno);
    if (!IsOurs(status))
        ThrowOpen(__LINE__, m_path, EACCES);
}

bool PidFile::TryLock(bool tryOnly) {
    if (::flock(m_fd, LOCK_EX | LOCK_NB) == 0)
        return true;
    const int error = errno;
    if (error != EWOULDBLOCK)
        ulk::check::Throw(kSource, __LINE__, ulk::ResultFromErrno(error),
                          "Cannot acquire lock for " + m_path + ": " + std::strerror(error));
    if (!tryOnly)
        ulk::check::Throw(kSource, __LINE__, ulk::eAlreadyDone, "Another instance of this program is already running");
    return false;
}

void PidFile::WritePid() {
    const std::string text = std::to_string(::getpid());
    if (::ftruncate(m_fd, 0) != 0 || ::pwrite(m_fd, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()))
        ulk::check::Throw(kSource, __LINE__, ulk::eUnspecified, "Failed to write to " + m_path);
    ::fdatasync(m_fd);
}

int PidFile::ReadPid() const {
    const int saved = errno;
    int fd = ::open(m_path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd == -1)
        ulk::check::Throw(kSource, __LINE__, ulk::eUnspecified,
                          "Cannot reopen " + m_path + ": " + std::strerror(errno));
    const FdGuard guard(fd);
    // More than any number needs; a longer first line is no pid.
    char buffer[64];
    const ssize_t size = ::read(fd, buffer, sizeof buffer);
    std::string line(buffer, size > 0 ? static_cast<std::size_t>(size) : 0);
    line.resize(std::min(line.size(), line.find('\n')));
    errno = saved;
    struct RestoreErrno {
        int value;
        ~RestoreErrno() { errno = value; }
    } const restore{saved};
    return std::stoi(line);
}

} // namespace tfs
