// SPDX-License-Identifier: GPL-2.0-or-later
#include <algorithm>
#include <bench/remoting/bench_feed.h>
#include <bench/remoting/bench_service.h>
#include <iterator>
#include <string>

namespace tfs::bench {

namespace {

using types::AdditionalName;
using types::EventName;

constexpr EventName::Type Types[] = {EventName::ObjectProcessed,    EventName::ThreatDetected,
                                     EventName::TaskStateChanged,   EventName::ObjectDeleted,
                                     EventName::UpdateError,        EventName::ObjectSavedToBackup,
                                     EventName::ObjectNotProcessed, EventName::AVBasesApplied,
                                     EventName::HostBlocked,        EventName::FileDownloadStarted};

constexpr std::size_t LeastFields = 5;
constexpr std::size_t MostFields = 20;

} // namespace

Event EventOfId(Event::IdType id) {
    const auto number = static_cast<std::uint64_t>(id);
    const std::size_t fields = LeastFields + number % (MostFields - LeastFields + 1);
    Event event;
    event.id = id;
    event.type = Types[number % std::size(Types)];
    event.time = 1700000000 + id;
    event.additional.reserve(fields);
    event.Add(AdditionalName::FileName, "/home/user/documents/report-" + std::to_string(id) + ".odt");
    event.Add(AdditionalName::ObjectSize, number * 100);
    event.Add(AdditionalName::TaskId, std::uint64_t{2});
    event.Add(AdditionalName::TaskName, ulk::types::string16_t(u"Scan_My_Computer"));
    event.Add(AdditionalName::TaskType, ulk::types::string16_t(u"ODS"));
    while (event.additional.size() < fields) {
        switch (event.additional.size() % 3) {
        case 0:
            event.Add(AdditionalName::DetectName, ulk::types::string16_t(u"Win.Test.EICAR_HDB-1"));
            break;
        case 1:
            event.Add(AdditionalName::FileOwnerId, std::uint32_t{1000});
            break;
        default:
            event.Add(AdditionalName::LastModificationTime, ulk::types::FileTime{133444736000000000 + id});
            break;
        }
    }
    return event;
}

EventFilter FilterOf(std::size_t number) {
    EventFilter filter;
    for (std::size_t i = 0; i < number; ++i)
        filter.eventTypes.push_back(static_cast<std::uint32_t>(Types[i]));
    return filter;
}

unsigned PassingFilter(std::size_t number) {
    static_assert(EventCount % std::size(Types) == 0);
    return number == 0 ? EventCount : EventCount / std::size(Types) * static_cast<unsigned>(number);
}

void BenchFeed::Publish(unsigned count) {
    for (; count > 0; --count) {
        {
            const std::lock_guard lock(m_mutex);
            const std::uint64_t sequence = m_nextSequence++;
            m_ring.push_back(
                {sequence, std::make_shared<const Event>(EventOfId(static_cast<Event::IdType>(sequence)))});
            if (m_ring.size() > m_ringSize)
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
