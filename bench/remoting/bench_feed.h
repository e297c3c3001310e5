// SPDX-License-Identifier: GPL-2.0-or-later
// A feed whose store costs nothing: any event can be made again from its id.
#pragma once

#include <service/store/event_feed.h>

#include <atomic>
#include <deque>
#include <functional>
#include <mutex>

namespace tfs::bench {

/// An event of 5 to 20 fields, of one of ten types in turn.
Event EventOfId(Event::IdType id);

/// Number 0 takes everything, number n events of n of the ten types.
EventFilter FilterOf(std::size_t number);
/// How many of any EventCount events in a row pass it.
unsigned PassingFilter(std::size_t number);

class BenchFeed final : public service::store::IEventFeed {
public:
    explicit BenchFeed(std::size_t ringSize) : m_ringSize(ringSize) {}
    void Publish(unsigned count);

    service::store::FeedPosition End() const noexcept override;
    bool Read(std::uint64_t sequence, std::size_t limit, std::vector<service::store::FeedItem>& items) const override;
    result_t ReadStored(Event::IdType afterId, Event::IdType upToId, std::size_t limit,
                        std::vector<Event>& events) override;
    void SetWakeup(std::function<void()> wakeup) override;

private:
    const std::size_t m_ringSize;
    mutable std::mutex m_mutex;
    std::mutex m_wakeupMutex;
    std::function<void()> m_wakeup;
    std::deque<service::store::FeedItem> m_ring;
    std::uint64_t m_nextSequence = 1;
};

} // namespace tfs::bench
