// SPDX-License-Identifier: GPL-2.0-or-later
// One event feed for two readers, each with a wake-up of its own.
#pragma once

#include <service/store/event_feed.h>
#include <service/store/wakeup_slot.h>

#include <utility>

namespace tfs::service::app {

/// Owned by the application object; the feed outlives it, and it outlives its readers.
class FeedTee {
public:
    explicit FeedTee(store::IEventFeed& feed) : m_feed(feed), m_first(feed), m_second(feed) {
        m_feed.SetWakeup([this] {
            m_first.wakeup.Call();
            m_second.wakeup.Call();
        });
    }
    ~FeedTee() { m_feed.SetWakeup(nullptr); }
    FeedTee(const FeedTee&) = delete;
    FeedTee& operator=(const FeedTee&) = delete;

    store::IEventFeed& First() noexcept { return m_first; }
    store::IEventFeed& Second() noexcept { return m_second; }

private:
    class Branch final : public store::IEventFeed {
    public:
        explicit Branch(store::IEventFeed& feed) : m_feed(feed) {}
        store::FeedPosition End() const noexcept override { return m_feed.End(); }
        bool Read(std::uint64_t sequence, std::size_t limit, std::vector<store::FeedItem>& items) const override {
            return m_feed.Read(sequence, limit, items);
        }
        result_t ReadStored(Event::IdType afterId, Event::IdType upToId, std::size_t limit,
                            std::vector<Event>& events) override {
            return m_feed.ReadStored(afterId, upToId, limit, events);
        }
        void SetWakeup(std::function<void()> newWakeup) override { wakeup.Set(std::move(newWakeup)); }

        store::WakeupSlot wakeup;

    private:
        store::IEventFeed& m_feed;
    };

    store::IEventFeed& m_feed;
    Branch m_first;
    Branch m_second;
};

} // namespace tfs::service::app
