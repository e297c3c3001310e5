// SPDX-License-Identifier: GPL-2.0-or-later
// What the objects of one connection share.
#pragma once

#include <service/rpc/service_api.h>

#include <cstddef>
#include <kj/async.h>

namespace tfs::service::rpc {

class EventHub;

/// Owned by the connection, which outlives its objects. On the loop's thread.
struct ConnectionContext {
    const Caller caller;
    IServiceApi& api;
    EventHub& hub;
    const std::size_t subscriptionsLimit;
    std::size_t subscriptions = 0;

    ConnectionContext(const Caller& who, IServiceApi& serviceApi, EventHub& eventHub, std::size_t limit)
        : caller(who), api(serviceApi), hub(eventHub), subscriptionsLimit(limit) {}
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
