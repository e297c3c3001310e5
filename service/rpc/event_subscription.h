// SPDX-License-Identifier: GPL-2.0-or-later
// One subscription: a cursor into the feed and the capability that its events go to.
#pragma once

#include <service/rpc/connection_context.h>
#include <service/rpc/event_hub.h>
#include <service/rpc/method.h>
#include <service/store/event_feed.h>
#include <wire/tesl.capnp.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <kj/async.h>
#include <memory>
#include <optional>
#include <vector>

namespace tfs::service::rpc {

/// Pulls from the feed, filters, sends in batches by streaming calls, and waits for the window or the connection's
/// write queue before it pulls again: a slow subscriber costs a window, not the events that it hasn't taken. One that
/// has fallen out of the ring is served from the store up to the feed's end and goes on from there. On the loop's
/// thread; a debug build asserts it.
class EventSubscription {
public:
    /// Takes the feed's end for its beginning.
    EventSubscription(const std::shared_ptr<ConnectionContext>& context, EventFilter filter,
                      wire::schema::EventReceiver::Client receiver);
    ~EventSubscription();
    EventSubscription(const EventSubscription&) = delete;
    EventSubscription& operator=(const EventSubscription&) = delete;

    /// Called once. Sends what is published from the making of this object on.
    void Begin();
    /// Something has been published.
    void Wake();
    /// Sends nothing any more and lets go of the receiver, which may be what keeps this object. Destroying it does the
    /// same.
    void End();

private:
    kj::Promise<void> Step();
    kj::Promise<void> WaitForEvents();
    kj::Promise<void> CatchUp();
    kj::Promise<void> CatchUpTo(Event::IdType lastId);
    kj::Promise<void> SendPage(SharedPage page, std::size_t from);
    /// Notes that the event has been dealt with, and puts it into the batch where it is to be sent. Returns its size.
    std::size_t Take(const Event& event);
    kj::Promise<void> SendBatch(std::size_t bytes);
    /// False where an event could not be written; it is left out of the batch then.
    bool WriteBatch(capnp::List<wire::schema::Event>::Builder list);

    const std::shared_ptr<ConnectionContext> m_context;
    const EventFilter m_filter;
    wire::schema::EventReceiver::Client m_receiver;
    std::uint64_t m_sequence = 0; ///< next to be read from the ring
    Event::IdType m_lastId = 0;   ///< newest stored event that was dealt with
    unsigned m_failedReads = 0;   ///< of the store, in a row
    std::optional<EventHub::CatchUpScope> m_catchUp;
    std::vector<store::FeedItem> m_items;
    std::vector<const Event*> m_batch; ///< point into m_items, into the page being sent or into m_shortened
    std::deque<Event> m_shortened;     ///< those of the batch that this user isn't told whole
    bool m_published = false;
    bool m_hasEnded = false;
    kj::Maybe<kj::Own<kj::PromiseFulfiller<void>>> m_waiting;
    kj::Promise<void> m_run = nullptr;
};

/// The handle that the client holds.
class SubscriptionObject final : public ServiceObject {
public:
    SubscriptionObject(const std::shared_ptr<ConnectionContext>& context, EventFilter filter,
                       wire::schema::EventReceiver::Client receiver);
    static std::span<const Method> Methods() noexcept;

private:
    using Schema = wire::schema::EventSubscription;
    result_t Cancel(Schema::CancelParams::Reader params, Schema::CancelResults::Builder results);

    std::unique_ptr<EventSubscription> m_subscription;
};

} // namespace tfs::service::rpc
