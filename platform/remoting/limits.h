// SPDX-License-Identifier: GPL-2.0-or-later
// The settings of one connection with their defaults filled in.
#pragma once

#include <contract/remoting.h>
#include <wire/protocol.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace ulk::remoting {

struct ConnectionLimits {
    std::chrono::milliseconds connectTimeout{2000};
    std::chrono::milliseconds callTimeout{5000};
    std::chrono::milliseconds longCallTimeout{600'000}; ///< of calls that move files; the heartbeat tells a dead peer
    std::chrono::milliseconds heartbeat{1000};
    std::size_t messageSize = tfs::wire::ReplySizeLimit;
    std::uint32_t callsInFlight = tfs::wire::CallsInFlightLimit;
    std::string address;

    explicit ConnectionLimits(const ConnectionSettings& settings) : address(settings.address) {
        if (settings.connectTimeoutMs != 0)
            connectTimeout = std::chrono::milliseconds(settings.connectTimeoutMs);
        if (settings.callTimeoutMs != 0)
            callTimeout = std::chrono::milliseconds(settings.callTimeoutMs);
        if (settings.heartbeatMs != 0)
            heartbeat = std::chrono::milliseconds(settings.heartbeatMs);
        if (settings.messageSizeLimit != 0)
            messageSize = settings.messageSizeLimit;
        if (settings.callsInFlightLimit != 0)
            callsInFlight = settings.callsInFlightLimit;
    }
};

} // namespace ulk::remoting
