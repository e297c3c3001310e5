// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/rpc/event_hub.h>
#include <service/rpc/event_subscription.h>
#include <wire/results.h>

#include <algorithm>
#include <cassert>
#include <memory>
#include <new>
#include <utility>

namespace tfs::service::rpc {
namespace {

constexpr std::size_t PagesKept = 8;

} // namespace

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

kj::Promise<SharedPage> EventHub::ReadStored(Event::IdType afterId, Event::IdType upToId, std::size_t limit) {
    AssertThread();
    if (SharedPage page = FindPage(afterId))
        return page;
    if (m_read != nullptr) {
        // Its page may serve this one as well.
        auto turn = kj::newPromiseAndFulfiller<void>();
        m_waiting.push_back(kj::mv(turn.fulfiller));
        return turn.promise.then([this, afterId, upToId, limit] { return ReadStored(afterId, upToId, limit); });
    }
    // The worker may outlive the hub, so it touches only what outlives both; a function posted to a queue that has
    // closed is never run.
    const bool posted = m_storeWorker.Post([this, &feed = m_feed, &queue = m_queue, afterId, upToId, limit] {
        auto page = std::make_shared<StoredPage>();
        page->afterId = afterId;
        try {
            page->result = feed.ReadStored(afterId, upToId, limit, page->events);
        } catch (...) {
            page->result = wire::ResultFromCurrentException();
        }
        queue.PostFunction([this, page] { FinishRead(page); });
    });
    if (!posted)
        return SharedPage(std::make_shared<const StoredPage>(StoredPage{ulk::eNotReady, afterId, {}}));
    auto pair = kj::newPromiseAndFulfiller<SharedPage>();
    m_read = kj::mv(pair.fulfiller);
    return kj::mv(pair.promise);
}

void EventHub::FinishRead(const SharedPage& page) {
    AssertThread();
    if (m_catchUps > 0 && ULK_SUCCEEDED(page->result) && !page->events.empty()) {
        m_pages.push_back(page);
        if (m_pages.size() > PagesKept)
            m_pages.pop_front();
    }
    KJ_IF_MAYBE (read, m_read) {
        auto fulfiller = kj::mv(*read);
        m_read = nullptr;
        fulfiller->fulfill(SharedPage(page));
    }
    auto waiting = std::exchange(m_waiting, {});
    for (auto& fulfiller : waiting)
        fulfiller->fulfill();
}

SharedPage EventHub::FindPage(Event::IdType afterId) const {
    const auto found = std::find_if(m_pages.begin(), m_pages.end(), [afterId](const SharedPage& page) {
        return page->afterId <= afterId && afterId < page->events.back().id;
    });
    return found == m_pages.end() ? nullptr : *found;
}

} // namespace tfs::service::rpc
