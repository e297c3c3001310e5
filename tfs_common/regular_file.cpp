// SPDX-License-Identifier: GPL-2.0-or-later
#include <tfs_common/regular_file.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs {
namespace {

class Descriptor {
public:
    explicit Descriptor(int fd) noexcept : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd != -1)
            ::close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Get() const noexcept { return m_fd; }

private:
    int m_fd;
};

} // namespace

result_t ReadRegularFile(const std::string& path, std::size_t limit, std::string& content) {
    if (path.find('\0') != std::string::npos)
        return ulk::eInvalidArgument;
    // Looked at before it is opened: opening alone makes some devices act.
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0)
        return ulk::ResultFromErrno(errno);
    if (!S_ISREG(status.st_mode))
        return ulk::eInvalidType;
    // And once more: it may be another by now, then a FIFO without a writer among others.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (file.Get() == -1 || ::fstat(file.Get(), &status) != 0)
        return ulk::ResultFromErrno(errno);
    if (!S_ISREG(status.st_mode))
        return ulk::eInvalidType;

    std::string read;
    char block[16384];
    while (read.size() <= limit) {
        const ssize_t count = ::read(file.Get(), block, sizeof(block));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return ulk::ResultFromErrno(errno);
        if (count == 0) {
            content = std::move(read);
            return ulk::sOk;
        }
        read.append(block, static_cast<std::size_t>(count));
    }
    return ulk::eInvalidSize;
}

} // namespace tfs
