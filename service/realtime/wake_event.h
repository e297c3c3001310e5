// SPDX-License-Identifier: GPL-2.0-or-later
// Wakes a thread that waits in poll.
#pragma once

#include <contract/scanner_channel.h>

#include <cerrno>
#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>

namespace tfs::service::realtime {

/// Any thread.
class WakeEvent {
public:
    WakeEvent() : m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
    int Descriptor() const noexcept { return m_event.Get(); }
    void Set() noexcept {
        const std::uint64_t one = 1;
        while (::write(m_event.Get(), &one, sizeof one) < 0 && errno == EINTR) {
        }
    }
    void Clear() noexcept {
        std::uint64_t ignored = 0;
        [[maybe_unused]] const ssize_t size = ::read(m_event.Get(), &ignored, sizeof ignored);
    }

private:
    scanner::Descriptor m_event;
};

} // namespace tfs::service::realtime
