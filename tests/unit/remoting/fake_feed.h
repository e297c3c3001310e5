// SPDX-License-Identifier: GPL-2.0-or-later
// An event feed in memory: a ring of a chosen size, and a store that is a list.
#pragma once

#include <service/store/event_feed.h>

#include <atomic>
#include <deque>
#include <functional>
#include <mutex>
#include <vector>

namespace tfs::test {

class FakeFeed final : public service::store::IEventFeed {
public:
    explicit FakeFeed(std::size_t ringSize) : m_ringSize(ringSize) {}

    /// Gives the event the next id, keeps it in the store, and puts it into the ring. Returns the id.
    Event::IdType Publish(Event event);
    /// Into the ring alone.
    void PublishTransient(Event event);

    service::store::FeedPosition End() const noexcept override;
    bool Read(std::uint64_t sequence, std::size_t limit, std::vector<service::store::FeedItem>& items) const override;
    result_t ReadStored(Event::IdType afterId, Event::IdType upToId, std::size_t limit,
                        std::vector<Event>& events) override;
    void SetWakeup(std::function<void()> wakeup) override;

    std::atomic<int> storeReads{0};
    std::atomic<int> failingStoreReads{0}; ///< this many of the next ones fail

private:
    void Append(Event event);

    const std::size_t m_ringSize;
    mutable std::mutex m_mutex;
    std::mutex m_wakeupMutex;
    std::function<void()> m_wakeup;
    std::deque<service::store::FeedItem> m_ring;
    std::vector<Event> m_stored;
    std::uint64_t m_nextSequence = 1;
};

} // namespace tfs::test
