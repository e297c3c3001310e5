// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/user_rights.h>
#include <service/tasks/area_access.h>

#include <cerrno>
#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs::service::tasks {
namespace {

class Descriptor {
public:
    explicit Descriptor(int fd) noexcept : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Get() const noexcept { return m_fd; }

private:
    int m_fd;
};

AreaAccess OpenArea(const std::string& area) {
    // Opening by path alone has no effect on devices and pipes; what is readable is opened through it.
    const Descriptor handle(::open(area.c_str(), O_PATH | O_CLOEXEC));
    if (handle.Get() < 0)
        return {errno, {}};
    struct stat status {};
    if (::fstat(handle.Get(), &status) != 0)
        return {errno, {}};
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode))
        return {EOPNOTSUPP, {}};
    const std::string link = "/proc/self/fd/" + std::to_string(handle.Get());
    const Descriptor content(::open(link.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (content.Get() < 0)
        return {errno, {}};
    std::string path(PATH_MAX, '\0');
    const ssize_t size = ::readlink(link.c_str(), path.data(), path.size());
    if (size < 0)
        return {errno, {}};
    if (static_cast<std::size_t>(size) >= path.size())
        return {ENAMETOOLONG, {}};
    path.resize(static_cast<std::size_t>(size));
    return {0, std::move(path)};
}

} // namespace

AreaAccess CheckArea(const std::string& area, std::optional<std::uint32_t> uid) {
    AreaAccess access;
    if (const int error = scan::RunWithRights(uid, [&] { access = OpenArea(area); }); error != 0)
        access.error = error;
    return access;
}

} // namespace tfs::service::tasks
