// SPDX-License-Identifier: GPL-2.0-or-later
#include <tests/unit/remoting/raw_peer.h>
#include <wire/socket_address.h>

#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace tfs::test {

RawClient::RawClient(const std::string& path) {
    wire::SocketAddress address;
    if (address.Set(path) != 0)
        return;
    m_socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::connect(m_socket, address.Get(), address.Size()) != 0) {
        ::close(m_socket);
        m_socket = -1;
    }
}

RawClient::~RawClient() {
    if (m_socket >= 0)
        ::close(m_socket);
}

bool RawClient::Send(std::string_view bytes, std::chrono::milliseconds time) const {
    const auto end = std::chrono::steady_clock::now() + time;
    while (!bytes.empty()) {
        const ssize_t sent = ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(sent));
            continue;
        }
        if (errno != EAGAIN && errno != EINTR)
            return false;
        if (std::chrono::steady_clock::now() > end)
            return true;
        pollfd wait{m_socket, POLLOUT, 0};
        ::poll(&wait, 1, 10);
    }
    return true;
}

bool RawClient::IsClosedWithin(std::chrono::milliseconds time) const {
    const auto end = std::chrono::steady_clock::now() + time;
    char buffer[4096];
    while (std::chrono::steady_clock::now() < end) {
        pollfd wait{m_socket, POLLIN, 0};
        if (::poll(&wait, 1, 10) <= 0)
            continue;
        const ssize_t size = ::recv(m_socket, buffer, sizeof(buffer), MSG_DONTWAIT);
        if (size == 0 || (size < 0 && errno != EAGAIN && errno != EINTR))
            return true;
    }
    return false;
}

Stranger::Stranger(const std::string& path, std::function<void(int)> handle) {
    wire::SocketAddress address;
    address.Set(path);
    m_socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ::bind(m_socket, address.Get(), address.Size());
    ::listen(m_socket, 16);
    m_thread = std::thread([this, handle = std::move(handle)] {
        std::vector<int> accepted;
        while (!m_stop.load()) {
            pollfd wait{m_socket, POLLIN, 0};
            if (::poll(&wait, 1, 10) <= 0)
                continue;
            const int peer = ::accept4(m_socket, nullptr, nullptr, SOCK_CLOEXEC);
            if (peer < 0)
                continue;
            accepted.push_back(peer);
            handle(peer);
        }
        for (const int peer : accepted)
            ::close(peer);
    });
}

Stranger::~Stranger() {
    m_stop.store(true);
    m_thread.join();
    ::close(m_socket);
}

} // namespace tfs::test
