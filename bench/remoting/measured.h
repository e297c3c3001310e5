// SPDX-License-Identifier: GPL-2.0-or-later
// The two ways that are compared: through the proxies, and with Cap'n Proto directly.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace tfs::bench {

/// A caller's thread, a loop thread, a socket, the service's loop thread, for events a publisher's thread there. `Call`
/// makes one small call and waits.
class ICallPath {
public:
    virtual ~ICallPath() = default;
    virtual void Call() = 0;
    /// Makes that many subscriptions, with the filters of their numbers, calls `publish`, which sets off EventCount
    /// events, and returns when each has got what its filter takes, once and in order.
    virtual void ReceiveEvents(std::size_t subscribers, const std::function<void()>& publish) = 0;
};

std::unique_ptr<ICallPath> ThroughProxies(const std::string& socketPath);
std::unique_ptr<ICallPath> Directly(const std::string& socketPath);

/// The directly measured service: streams batches as large as the service's that were made before. The program's
/// `--bare`.
int RunBareService(const char* socketPath);
/// A subscriber that never takes an event. The program's `--stuck`.
int RunStuckSubscriber(const char* socketPath);

} // namespace tfs::bench
