// SPDX-License-Identifier: GPL-2.0-or-later
// The socket file of the service.
#pragma once

#include <foundation/result.h>

#include <string>
#include <sys/types.h>

namespace tfs::service::rpc {

/// Made, bound and removed by the server's owner. The descriptor is non-blocking.
class ListeningSocket {
public:
    ListeningSocket() = default;
    ~ListeningSocket() { Close(); }
    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;

    /// Everybody may connect (mode 0666): each call is authorised by the peer's uid. A stale socket of an ended
    /// service is removed; anything else at the path, a link included, and a socket that answers are eAlreadyExists. A
    /// folder that everybody may write to is eAccessDenied, since anybody could put a socket of his own there.
    result_t Open(const std::string& path);
    int Descriptor() const noexcept { return m_socket; }
    /// Removes the file if it is still the one that was bound here.
    void Close() noexcept;

private:
    int m_socket = -1;
    int m_folder = -1;
    std::string m_name;
    dev_t m_device = 0;
    ino_t m_inode = 0;
};

} // namespace tfs::service::rpc
