// SPDX-License-Identifier: GPL-2.0-or-later
// Addresses of Unix sockets, for paths of any length.
#pragma once

#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>

namespace tfs::wire {

/// The address of a socket file. The kernel takes at most 107 characters; a longer path is told through a descriptor
/// of its folder, which this object holds open: keep it until bind or connect has returned.
class SocketAddress {
public:
    SocketAddress() = default;
    ~SocketAddress();
    SocketAddress(const SocketAddress&) = delete;
    SocketAddress& operator=(const SocketAddress&) = delete;

    /// 0, or the errno value: ENAMETOOLONG where even the file's name alone doesn't fit, EINVAL for an empty path or
    /// one with a NUL in it, else what opening the folder gave.
    int Set(std::string_view path);

    const sockaddr* Get() const noexcept { return reinterpret_cast<const sockaddr*>(&m_address); }
    socklen_t Size() const noexcept { return sizeof(m_address); }

private:
    sockaddr_un m_address{};
    int m_folder = -1;
};

} // namespace tfs::wire
