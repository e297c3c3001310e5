// SPDX-License-Identifier: GPL-2.0-or-later
// The two ways that are compared: through the proxies, and with Cap'n Proto directly.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace tfs::bench {

/// A caller's thread, a loop thread, a socket, the service's loop thread. `Call` makes one small call and waits.
class ICallPath {
public:
    virtual ~ICallPath() = default;
    virtual void Call() = 0;
    /// Returns when EventCount events that `publish` sets off have been handled, each once and in order.
    virtual void ReceiveEvents(const std::function<void()>& publish) = 0;
};

std::unique_ptr<ICallPath> ThroughProxies(const std::string& socketPath);
std::unique_ptr<ICallPath> Directly(const std::string& socketPath);

/// The directly measured service: `--bare`, one event in a streaming call, or `--bare-batches`, as many as the
/// service puts into one.
int RunBareService(const char* socketPath, unsigned eventsPerCall);
/// A subscriber that never takes an event. The program's `--stuck`.
int RunStuckSubscriber(const char* socketPath);

} // namespace tfs::bench
