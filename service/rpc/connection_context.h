// SPDX-License-Identifier: GPL-2.0-or-later
// What the objects of one connection share.
#pragma once

#include <service/rpc/blocking_calls.h>
#include <service/rpc/service_api.h>

#include <cstddef>
#include <kj/async.h>
#include <memory>
#include <set>
#include <utility>

namespace tfs::service::rpc {

class EventHub;
class EventSubscription;

/// Owned by the connection, which outlives its objects: they end with the library's side of it, but for subscriptions,
/// which a client can make hold each other and which the connection therefore ends itself. On the loop's thread.
struct ConnectionContext {
    const Caller caller;
    const result_t admission; ///< a failure is the answer to the greeting; nothing else is answered then
    IServiceApi& api;
    const std::shared_ptr<BlockingCalls> blocking;
    EventHub& hub;
    const std::size_t subscriptionsLimit;
    std::set<EventSubscription*> subscriptions;

    ConnectionContext(const Caller& who, result_t admitted, IServiceApi& serviceApi,
                      std::shared_ptr<BlockingCalls> blockingCalls, EventHub& eventHub, std::size_t limit)
        : caller(who), admission(admitted), api(serviceApi), blocking(std::move(blockingCalls)), hub(eventHub),
          subscriptionsLimit(limit) {}
    virtual ~ConnectionContext() noexcept(false) = default;
    ConnectionContext(const ConnectionContext&) = delete;
    ConnectionContext& operator=(const ConnectionContext&) = delete;

    /// True while the write queue is so full that no event may join it.
    virtual bool IsCongested() = 0;
    /// Resolves when something has been written.
    virtual kj::Promise<void> OnWritten() = 0;
    /// The peer has greeted with the right version.
    virtual void Greeted() = 0;
    /// Ends the connection soon; the peer may connect anew.
    virtual void End(const char* reason) = 0;
};

} // namespace tfs::service::rpc
