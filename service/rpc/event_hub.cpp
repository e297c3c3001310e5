// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/rpc/event_hub.h>
#include <service/rpc/event_subscription.h>
#include <wire/results.h>

#include <cassert>
#include <memory>
#include <new>
#include <utility>

namespace tfs::service::rpc {

EventHub::EventHub(store::IEventFeed& feed, wire::LoopQueue& queue, Worker& storeWorker, kj::Timer& timer,
                   ulk::ITracer* tracer)
    : m_feed(feed), m_queue(queue), m_storeWorker(storeWorker), m_timer(timer), m_tracer(tracer), m_partings(*this) {
    m_feed.SetWakeup([this] { OnPublished(); });
}

EventHub::~EventHub() {
    AssertThread();
    m_feed.SetWakeup(nullptr);
}

void EventHub::AssertThread() const { assert(m_queue.IsCurrent()); }

void EventHub::Add(EventSubscription& subscription) {
    AssertThread();
    m_subscriptions.insert(&subscription);
}

void EventHub::Remove(EventSubscription& subscription) noexcept {
    AssertThread();
    m_subscriptions.erase(&subscription);
}

void EventHub::OnPublished() noexcept {
    // One wake-up is enough for however many publications until the loop has looked.
    if (m_wakePending.exchange(true))
        return;
    try {
        m_queue.PostFunction([this] { WakeAll(); });
    } catch (...) {
        m_wakePending.store(false); // short of memory: the next publication tries again
    }
}

void EventHub::LetGoLater(capnp::Capability::Client capability) noexcept {
    try {
        m_partings.add(kj::evalLater([parting = kj::mv(capability)] {}));
    } catch (const std::bad_alloc&) { // then at once
    }
}

void EventHub::taskFailed(kj::Exception&& exception) {
    ULK_TRACE(m_tracer, ulk::level::Failure) << "rpc: " << exception.getDescription().cStr();
}

void EventHub::WakeAll() {
    AssertThread();
    m_wakePending.store(false);
    for (EventSubscription* subscription : m_subscriptions)
        subscription->Wake();
}

kj::Promise<StoredPage> EventHub::ReadStored(Event::IdType afterId, Event::IdType upToId, std::size_t limit) {
    AssertThread();
    auto pair = kj::newPromiseAndFulfiller<StoredPage>();
    const std::uint64_t id = m_nextRead++;
    m_reads.emplace(id, kj::mv(pair.fulfiller));
    // The worker may outlive the hub, so it touches only what outlives both; a function posted to a queue that has
    // closed is never run.
    const bool posted = m_storeWorker.Post([this, &feed = m_feed, &queue = m_queue, id, afterId, upToId, limit] {
        auto page = std::make_shared<StoredPage>();
        try {
            page->result = feed.ReadStored(afterId, upToId, limit, page->events);
        } catch (...) {
            page->result = wire::ResultFromCurrentException();
        }
        queue.PostFunction([this, id, page] {
            auto node = m_reads.extract(id);
            node.mapped()->fulfill(std::move(*page));
        });
    });
    if (!posted) {
        m_reads.erase(id);
        return StoredPage{ulk::eNotReady, {}};
    }
    return kj::mv(pair.promise);
}

} // namespace tfs::service::rpc
