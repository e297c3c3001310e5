// SPDX-License-Identifier: GPL-2.0-or-later
// Descriptors, and sending and receiving one message of scanner_protocol.h together with descriptors.
#pragma once

#include <contract/scanner_protocol.h>

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace tfs::scanner {

/// Owns one descriptor.
class Descriptor {
public:
    Descriptor() noexcept = default;
    explicit Descriptor(int descriptor) noexcept : m_descriptor(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other)
            Reset(std::exchange(other.m_descriptor, -1));
        return *this;
    }
    ~Descriptor() { Reset(); }

    int Get() const noexcept { return m_descriptor; }
    explicit operator bool() const noexcept { return m_descriptor >= 0; }
    int Release() noexcept { return std::exchange(m_descriptor, -1); }
    /// Keeps errno.
    void Reset(int descriptor = -1) noexcept {
        if (m_descriptor >= 0) {
            const int error = errno;
            ::close(m_descriptor);
            errno = error;
        }
        m_descriptor = descriptor;
    }

private:
    int m_descriptor = -1;
};

/// Most descriptors that come with one message.
inline constexpr std::size_t MaxDescriptors = 2;

/// What Receive found.
enum class ReceiveResult {
    Message, ///< a message was read
    Nothing, ///< MSG_DONTWAIT, and nothing was there
    Closed,  ///< the other side is gone
    Garbage, ///< a packet that is no message of ours
};

/// A received message with its memory and descriptors.
struct Received {
    MessageBuffer buffer;
    Message message;
    std::array<Descriptor, MaxDescriptors> descriptors;
};

/// Sends a message and up to MaxDescriptors descriptors. Returns 0 or the errno value; EAGAIN when the socket is full
/// and `flags` has MSG_DONTWAIT. Never raises SIGPIPE.
inline int Send(int socket, const Message& message, std::span<const int> descriptors = {}, int flags = 0) noexcept {
    MessageBuffer buffer;
    iovec data{buffer.data(), Encode(message, buffer)};
    msghdr header{};
    header.msg_iov = &data;
    header.msg_iovlen = 1;
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int) * MaxDescriptors)> control{};
    if (!descriptors.empty()) {
        const std::size_t bytes = descriptors.size_bytes();
        header.msg_control = control.data();
        header.msg_controllen = CMSG_SPACE(bytes);
        cmsghdr* rights = CMSG_FIRSTHDR(&header);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(bytes);
        std::memcpy(CMSG_DATA(rights), descriptors.data(), bytes);
    }
    for (;;) {
        if (::sendmsg(socket, &header, flags | MSG_NOSIGNAL) >= 0)
            return 0;
        if (errno != EINTR)
            return errno;
    }
}

/// Receives one message; its descriptors are close-on-exec. `flags` may be MSG_DONTWAIT.
inline ReceiveResult Receive(int socket, Received& received, int flags = 0) noexcept {
    for (Descriptor& descriptor : received.descriptors)
        descriptor.Reset();
    iovec data{received.buffer.data(), received.buffer.size()};
    msghdr header{};
    header.msg_iov = &data;
    header.msg_iovlen = 1;
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int) * MaxDescriptors)> control;
    header.msg_control = control.data();
    header.msg_controllen = control.size();
    ssize_t size = 0;
    do
        size = ::recvmsg(socket, &header, flags | MSG_CMSG_CLOEXEC);
    while (size < 0 && errno == EINTR);
    if (size < 0)
        return errno == EAGAIN || errno == EWOULDBLOCK ? ReceiveResult::Nothing : ReceiveResult::Closed;
    std::size_t count = 0;
    for (cmsghdr* part = CMSG_FIRSTHDR(&header); part != nullptr; part = CMSG_NXTHDR(&header, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS)
            continue;
        const std::size_t bytes = part->cmsg_len - CMSG_LEN(0);
        for (std::size_t at = 0; at + sizeof(int) <= bytes; at += sizeof(int)) {
            int descriptor = -1;
            std::memcpy(&descriptor, CMSG_DATA(part) + at, sizeof descriptor);
            if (count < MaxDescriptors)
                received.descriptors[count++].Reset(descriptor);
            else
                ::close(descriptor);
        }
    }
    if (size == 0)
        return ReceiveResult::Closed; // no message of ours is empty
    if ((header.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0)
        return ReceiveResult::Garbage;
    const auto message = Decode({received.buffer.data(), static_cast<std::size_t>(size)});
    if (!message)
        return ReceiveResult::Garbage;
    received.message = *message;
    return ReceiveResult::Message;
}

} // namespace tfs::scanner
