// SPDX-License-Identifier: GPL-2.0-or-later
// What the objects of one connection share.
#pragma once

#include <service/rpc/blocking_calls.h>
#include <service/rpc/service_api.h>

#include <cstddef>
#include <kj/async.h>
#include <memory>
#include <set>

namespace tfs::service::rpc {

class EventHub;
class EventSubscription;

/// What an object may ask of its connection.
class IConnection {
public:
    /// True while the write queue is so full that no event may join it.
    virtual bool IsCongested() = 0;
    /// Resolves when something has been written.
    virtual kj::Promise<void> OnWritten() = 0;
    /// The peer has greeted with the right version.
    virtual void Greeted() = 0;
    /// Ends the connection soon; the peer may connect anew.
    virtual void End(const char* reason) = 0;

protected:
    ~IConnection() = default;
};

/// Shared by a connection and its objects. They may outlive it: a call that was read before the end runs to its own
/// end, and subscriptions can be made to hold each other, for which the connection ends them itself. On the loop's
/// thread.
struct ConnectionContext {
    const Caller caller;
    const result_t admission; ///< a failure is the answer to the greeting; nothing else is answered then
    IServiceApi& api;
    const std::shared_ptr<BlockingCalls> blocking;
    const std::shared_ptr<BlockingCalls> slow;
    EventHub& hub;
    const std::size_t subscriptionsLimit;
    IConnection* connection; ///< null when it has ended; no subscription may begin then
    std::set<EventSubscription*> subscriptions{};
};

} // namespace tfs::service::rpc
