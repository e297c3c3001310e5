// SPDX-License-Identifier: GPL-2.0-or-later
#include <algorithm>
#include <bench/remoting/bench_feed.h>
#include <string>

namespace tfs::bench {

Event EventOfId(Event::IdType id) {
    Event event;
    event.id = id;
    event.type = types::EventName::ObjectProcessed;
    event.time = 1700000000 + id;
    event.Add(types::AdditionalName::FileName, "/home/user/documents/report-" + std::to_string(id) + ".odt");
    event.Add(types::AdditionalName::ObjectSize, static_cast<std::uint64_t>(id) * 100);
    event.Add(types::AdditionalName::TaskId, std::uint64_t{2});
    event.Add(types::AdditionalName::TaskName, ulk::types::string16_t(u"Scan_My_Computer"));
    return event;
}

void BenchFeed::Publish(unsigned count) {
    for (; count > 0; --count) {
        {
            const std::lock_guard lock(m_mutex);
            const std::uint64_t sequence = m_nextSequence++;
            m_ring.push_back(
                {sequence, std::make_shared<const Event>(EventOfId(static_cast<Event::IdType>(sequence)))});
            if (m_ring.size() > RingSize)
                m_ring.pop_front();
        }
        const std::lock_guard lock(m_wakeupMutex);
        if (m_wakeup)
            m_wakeup();
    }
}

service::store::FeedPosition BenchFeed::End() const noexcept {
    const std::lock_guard lock(m_mutex);
    return {m_nextSequence, static_cast<Event::IdType>(m_nextSequence - 1)};
}

bool BenchFeed::Read(std::uint64_t sequence, std::size_t limit, std::vector<service::store::FeedItem>& items) const {
    const std::lock_guard lock(m_mutex);
    const std::uint64_t oldest = m_nextSequence - m_ring.size();
    if (sequence < oldest)
        return false;
    for (std::size_t i = sequence - oldest; i < m_ring.size() && limit > 0; ++i, --limit)
        items.push_back(m_ring[i]);
    return true;
}

result_t BenchFeed::ReadStored(Event::IdType afterId, Event::IdType upToId, std::size_t limit,
                               std::vector<Event>& events) {
    const auto last = std::min(upToId, afterId + static_cast<Event::IdType>(limit));
    for (Event::IdType id = afterId + 1; id <= last; ++id)
        events.push_back(EventOfId(id));
    return ulk::sOk;
}

void BenchFeed::SetWakeup(std::function<void()> wakeup) {
    const std::lock_guard lock(m_wakeupMutex);
    m_wakeup = std::move(wakeup);
}

} // namespace tfs::bench
