// SPDX-License-Identifier: GPL-2.0-or-later
// Peers that speak bytes instead of the protocol.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <thread>

namespace tfs::test {

/// A plain connected socket.
class RawClient {
public:
    explicit RawClient(const std::string& path);
    ~RawClient();
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;
    bool IsConnected() const noexcept { return m_socket >= 0; }
    /// As much as the peer takes within the time; false when it has closed the connection.
    bool Send(std::string_view bytes, std::chrono::milliseconds time = std::chrono::seconds(5)) const;
    /// True when the peer closes the connection within the time; what it sends is read and dropped.
    bool IsClosedWithin(std::chrono::milliseconds time) const;
    int Descriptor() const noexcept { return m_socket; }

private:
    int m_socket = -1;
};

/// Accepts connections on a path and hands each to a function on a thread.
class Stranger {
public:
    Stranger(const std::string& path, std::function<void(int)> handle);
    ~Stranger();
    Stranger(const Stranger&) = delete;
    Stranger& operator=(const Stranger&) = delete;

private:
    int m_socket = -1;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

} // namespace tfs::test
