// SPDX-License-Identifier: GPL-2.0-or-later
#include <wire/socket_address.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace tfs::wire {

SocketAddress::~SocketAddress() {
    if (m_folder >= 0)
        ::close(m_folder);
}

int SocketAddress::Set(std::string_view path) {
    if (path.empty() || path.find('\0') != std::string_view::npos)
        return EINVAL;
    m_address.sun_family = AF_UNIX;
    std::string text(path);
    if (text.size() >= sizeof(m_address.sun_path)) {
        const std::size_t slash = text.rfind('/');
        const std::string folder = slash == std::string::npos ? "." : text.substr(0, slash + 1);
        if (m_folder >= 0)
            ::close(m_folder);
        m_folder = ::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        if (m_folder < 0)
            return errno;
        text =
            "/proc/self/fd/" + std::to_string(m_folder) + "/" + text.substr(slash == std::string::npos ? 0 : slash + 1);
        if (text.size() >= sizeof(m_address.sun_path))
            return ENAMETOOLONG;
    }
    std::memset(m_address.sun_path, 0, sizeof(m_address.sun_path));
    std::memcpy(m_address.sun_path, text.data(), text.size());
    return 0;
}

} // namespace tfs::wire
