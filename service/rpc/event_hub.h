// SPDX-License-Identifier: GPL-2.0-or-later
// Where the subscriptions of all connections meet the service's event feed.
#pragma once

#include <foundation/trace.h>
#include <service/rpc/worker.h>
#include <service/store/event_feed.h>
#include <wire/loop_thread.h>

#include <atomic>
#include <capnp/capability.h>
#include <cstdint>
#include <kj/async-io.h>
#include <map>
#include <set>
#include <vector>

namespace tfs::service::rpc {

class EventSubscription;

struct StoredPage {
    result_t result = ulk::sOk;
    std::vector<Event> events;
};

/// On the loop's thread, but for the feed's wake-up; a debug build asserts it. Holds no events.
class EventHub final : private kj::TaskSet::ErrorHandler {
public:
    EventHub(store::IEventFeed& feed, wire::LoopQueue& queue, Worker& storeWorker, kj::Timer& timer,
             ulk::ITracer* tracer);
    ~EventHub();
    EventHub(const EventHub&) = delete;
    EventHub& operator=(const EventHub&) = delete;

    void Add(EventSubscription& subscription);
    void Remove(EventSubscription& subscription) noexcept;
    std::size_t Count() const noexcept { return m_subscriptions.size(); }
    void AssertThread() const;
    /// Frees the capability when the loop comes to it.
    void LetGoLater(capnp::Capability::Client capability) noexcept;

    const store::IEventFeed& Feed() const noexcept { return m_feed; }
    kj::Timer& Timer() noexcept { return m_timer; }
    ulk::ITracer* Tracer() const noexcept { return m_tracer; }
    /// Reads a page of stored events on the helper thread, since that touches the disk.
    kj::Promise<StoredPage> ReadStored(Event::IdType afterId, Event::IdType upToId, std::size_t limit);

private:
    void taskFailed(kj::Exception&& exception) override;
    void OnPublished() noexcept;
    void WakeAll();

    store::IEventFeed& m_feed;
    wire::LoopQueue& m_queue;
    Worker& m_storeWorker;
    kj::Timer& m_timer;
    ulk::ITracer* const m_tracer;
    std::atomic<bool> m_wakePending{false};
    std::set<EventSubscription*> m_subscriptions;
    std::uint64_t m_nextRead = 1;
    std::map<std::uint64_t, kj::Own<kj::PromiseFulfiller<StoredPage>>> m_reads;
    kj::TaskSet m_partings;
};

} // namespace tfs::service::rpc
