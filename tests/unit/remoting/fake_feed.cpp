// SPDX-License-Identifier: GPL-2.0-or-later
#include <tests/unit/remoting/fake_feed.h>

#include <algorithm>

namespace tfs::test {

Event::IdType FakeFeed::Publish(Event event) {
    Event::IdType id = 0;
    {
        const std::lock_guard lock(m_mutex);
        id = static_cast<Event::IdType>(m_stored.size()) + 1;
        event.id = id;
        m_stored.push_back(event);
        Append(std::move(event));
    }
    const std::lock_guard lock(m_wakeupMutex);
    if (m_wakeup)
        m_wakeup();
    return id;
}

void FakeFeed::PublishTransient(Event event) {
    {
        const std::lock_guard lock(m_mutex);
        event.id = 0;
        Append(std::move(event));
    }
    const std::lock_guard lock(m_wakeupMutex);
    if (m_wakeup)
        m_wakeup();
}

void FakeFeed::Append(Event event) {
    m_ring.push_back({m_nextSequence++, std::make_shared<const Event>(std::move(event))});
    if (m_ring.size() > m_ringSize)
        m_ring.pop_front();
}

service::store::FeedPosition FakeFeed::End() const noexcept {
    const std::lock_guard lock(m_mutex);
    return {m_nextSequence, static_cast<Event::IdType>(m_stored.size())};
}

bool FakeFeed::Read(std::uint64_t sequence, std::size_t limit, std::vector<service::store::FeedItem>& items) const {
    const std::lock_guard lock(m_mutex);
    const std::uint64_t oldest = m_nextSequence - m_ring.size();
    if (sequence < oldest)
        return false;
    for (std::size_t i = sequence - oldest; i < m_ring.size() && limit > 0; ++i, --limit)
        items.push_back(m_ring[i]);
    return true;
}

result_t FakeFeed::ReadStored(Event::IdType afterId, Event::IdType upToId, std::size_t limit,
                              std::vector<Event>& events) {
    ++storeReads;
    if (failingStoreReads.load() > 0) {
        --failingStoreReads;
        return ulk::eLocked;
    }
    const std::lock_guard lock(m_mutex);
    const auto size = static_cast<Event::IdType>(m_stored.size());
    for (Event::IdType id = afterId + 1; id <= std::min(upToId, size) && limit > 0; ++id, --limit)
        events.push_back(m_stored[static_cast<std::size_t>(id - 1)]);
    return ulk::sOk;
}

void FakeFeed::SetWakeup(std::function<void()> wakeup) {
    const std::lock_guard lock(m_wakeupMutex);
    m_wakeup = std::move(wakeup);
}

} // namespace tfs::test
