// SPDX-License-Identifier: GPL-2.0-or-later
// Where the subscriptions of all connections meet the service's event feed.
#pragma once

#include <foundation/trace.h>
#include <service/rpc/worker.h>
#include <service/store/event_feed.h>
#include <wire/loop_thread.h>

#include <atomic>
#include <capnp/capability.h>
#include <cstddef>
#include <deque>
#include <kj/async-io.h>
#include <memory>
#include <set>
#include <vector>

namespace tfs::service::rpc {

class EventSubscription;

/// Events of the store that follow each other, ascending. What is on its way to subscribers is shared between them.
struct StoredPage {
    result_t result = ulk::sOk;
    Event::IdType afterId = 0; ///< the first event is the one behind it
    std::vector<Event> events;
};
using SharedPage = std::shared_ptr<const StoredPage>;

/// On the loop's thread, but for the feed's wake-up; a debug build asserts it. Holds a few pages of stored events while
/// subscribers catch up, else none.
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
    /// A page that has the event behind `afterId`, and may begin before it and end behind `upToId`; without events
    /// where there is none up to `upToId`. Read on the helper thread, since that touches the disk, one page at a time,
    /// unless another subscriber has lately asked for it.
    kj::Promise<SharedPage> ReadStored(Event::IdType afterId, Event::IdType upToId, std::size_t limit);

    /// Held by a subscription while it reads stored events. On the loop's thread.
    class CatchUpScope {
    public:
        explicit CatchUpScope(EventHub& hub) noexcept : m_hub(hub) { ++m_hub.m_catchUps; }
        ~CatchUpScope() {
            if (--m_hub.m_catchUps == 0)
                m_hub.m_pages.clear();
        }
        CatchUpScope(const CatchUpScope&) = delete;
        CatchUpScope& operator=(const CatchUpScope&) = delete;

    private:
        EventHub& m_hub;
    };

private:
    void taskFailed(kj::Exception&& exception) override;
    void OnPublished() noexcept;
    void WakeAll();
    void FinishRead(const SharedPage& page);
    SharedPage FindPage(Event::IdType afterId) const;

    store::IEventFeed& m_feed;
    wire::LoopQueue& m_queue;
    Worker& m_storeWorker;
    kj::Timer& m_timer;
    ulk::ITracer* const m_tracer;
    std::atomic<bool> m_wakePending{false};
    std::set<EventSubscription*> m_subscriptions;
    kj::Maybe<kj::Own<kj::PromiseFulfiller<SharedPage>>> m_read; ///< under way
    std::vector<kj::Own<kj::PromiseFulfiller<void>>> m_waiting;  ///< for its end
    std::size_t m_catchUps = 0;
    std::deque<SharedPage> m_pages; ///< the newest ones
    kj::TaskSet m_partings;
};

} // namespace tfs::service::rpc
