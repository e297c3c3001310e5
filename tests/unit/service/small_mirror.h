// SPDX-License-Identifier: GPL-2.0-or-later
// A web server of a few lines on the loopback: serves, fails, stalls.
#pragma once

#include <contract/scanner_channel.h>

#include <arpa/inet.h>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace tfs::service::tests {

class SmallMirror {
public:
    /// What is sent; the connection is closed behind it.
    struct Answer {
        int code = 200;
        std::string body;
        bool stall = false;   ///< more is announced and never sent
        bool endless = false; ///< the body again and again
    };
    using Handler = std::function<Answer(const std::string& path)>;

    explicit SmallMirror(Handler handler)
        : m_handler(std::move(handler)), m_stop(::eventfd(0, EFD_CLOEXEC)),
          m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        if (::bind(m_socket.Get(), reinterpret_cast<sockaddr*>(&address), size) != 0 ||
            ::listen(m_socket.Get(), 16) != 0 ||
            ::getsockname(m_socket.Get(), reinterpret_cast<sockaddr*>(&address), &size) != 0)
            std::abort();
        m_port = ntohs(address.sin_port);
        m_thread = std::thread([this] { Serve(); });
    }
    ~SmallMirror() {
        const std::uint64_t one = 1;
        (void)!::write(m_stop.Get(), &one, sizeof one);
        m_thread.join();
    }
    SmallMirror(const SmallMirror&) = delete;
    SmallMirror& operator=(const SmallMirror&) = delete;

    std::string Url(const std::string& path) const { return "http://127.0.0.1:" + std::to_string(m_port) + path; }
    int Requests() const { return m_requests; }
    /// Connections that the other side has closed while the server stalled.
    int LeftAlone() const { return m_leftAlone; }

private:
    /// False when the server is to end.
    bool WaitFor(int descriptor, short events) const {
        pollfd polled[2] = {{m_stop.Get(), POLLIN, 0}, {descriptor, events, 0}};
        return ::poll(polled, 2, -1) > 0 && polled[0].revents == 0;
    }
    void Serve() {
        while (WaitFor(m_socket.Get(), POLLIN)) {
            const scanner::Descriptor peer(::accept4(m_socket.Get(), nullptr, nullptr, SOCK_CLOEXEC));
            Serve(peer.Get());
        }
    }
    void Serve(int peer) {
        std::string request;
        char buffer[4096];
        while (request.find("\r\n\r\n") == std::string::npos) {
            const ssize_t count = WaitFor(peer, POLLIN) ? ::recv(peer, buffer, sizeof buffer, 0) : 0;
            if (count <= 0)
                return;
            request.append(buffer, static_cast<std::size_t>(count));
        }
        const std::size_t begin = request.find(' ') + 1;
        const Answer answer = m_handler(request.substr(begin, request.find(' ', begin) - begin));
        ++m_requests;
        std::string head = "HTTP/1.1 " + std::to_string(answer.code) + " Answer\r\nConnection: close\r\n";
        if (!answer.endless)
            head += "Content-Length: " + std::to_string(answer.body.size() + (answer.stall ? 100000 : 0)) + "\r\n";
        Send(peer, head + "\r\n" + answer.body);
        while (answer.endless && Send(peer, answer.body)) {
        }
        if (answer.stall && WaitFor(peer, POLLIN | POLLRDHUP))
            ++m_leftAlone;
    }
    bool Send(int peer, std::string_view text) const {
        while (!text.empty()) {
            const ssize_t count =
                WaitFor(peer, POLLOUT) ? ::send(peer, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT) : -1;
            if (count <= 0)
                return false;
            text.remove_prefix(static_cast<std::size_t>(count));
        }
        return true;
    }

    const Handler m_handler;
    const scanner::Descriptor m_stop;
    const scanner::Descriptor m_socket;
    std::uint16_t m_port = 0;
    std::atomic<int> m_requests = 0;
    std::atomic<int> m_leftAlone = 0;
    std::thread m_thread;
};

} // namespace tfs::service::tests
