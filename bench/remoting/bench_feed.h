// SPDX-License-Identifier: GPL-2.0-or-later
// A feed whose store costs nothing: any event can be made again from its id.
#pragma once

#include <service/store/event_feed.h>

#include <atomic>
#include <deque>
#include <functional>
#include <mutex>

namespace tfs::bench {

/// A scan's typical event.
Event EventOfId(Event::IdType id);

class BenchFeed final : public service::store::IEventFeed {
public:
    void Publish(unsigned count);

    service::store::FeedPosition End() const noexcept override;
    bool Read(std::uint64_t sequence, std::size_t limit, std::vector<service::store::FeedItem>& items) const override;
    result_t ReadStored(Event::IdType afterId, Event::IdType upToId, std::size_t limit,
                        std::vector<Event>& events) override;
    void SetWakeup(std::function<void()> wakeup) override;

private:
    static constexpr std::size_t RingSize = 8192;

    mutable std::mutex m_mutex;
    std::mutex m_wakeupMutex;
    std::function<void()> m_wakeup;
    std::deque<service::store::FeedItem> m_ring;
    std::uint64_t m_nextSequence = 1;
};

} // namespace tfs::bench
