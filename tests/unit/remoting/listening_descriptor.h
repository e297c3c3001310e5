// SPDX-License-Identifier: GPL-2.0-or-later
// A server's socket of this process, got at behind the server's back.
#pragma once

#include <tests/unit/remoting/raw_peer.h>

#include <fcntl.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace tfs::test {

/// The descriptor that listens on that path; -1 where there is none.
inline int ListeningDescriptor(const std::string& path) {
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        int listens = 0;
        socklen_t size = sizeof(listens);
        sockaddr_un address{};
        socklen_t addressSize = sizeof(address);
        if (::getsockopt(descriptor, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) == 0 && listens != 0 &&
            ::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &addressSize) == 0 &&
            path == address.sun_path)
            return descriptor;
    }
    return -1;
}

/// Lets a server find something else than its socket in the descriptor's place, with a client waiting. To be kept until
/// the server has noticed.
class BrokenSocket {
public:
    explicit BrokenSocket(const std::string& path) {
        const int listening = ListeningDescriptor(path);
        m_socket = ::fcntl(listening, F_DUPFD_CLOEXEC, 0);
        const int other = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        ::dup3(other, listening, O_CLOEXEC);
        ::close(other);
        const RawClient client(path);
    }
    ~BrokenSocket() { ::close(m_socket); }
    BrokenSocket(const BrokenSocket&) = delete;
    BrokenSocket& operator=(const BrokenSocket&) = delete;

private:
    int m_socket = -1;
};

} // namespace tfs::test
