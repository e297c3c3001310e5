// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/store/event_queries.h>
#include <service/store/event_search.h>
#include <service/store/payload_codec.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <string>

namespace tfs::service::store {
namespace {

using Clock = EventSearch::Clock;

/// Fills one page with matches in the order of the plan.
class PageFiller {
public:
    PageFiller(const QueryPlan& plan, std::uint32_t limit, std::size_t byteLimit, EventPage& page)
        : m_plan(plan), m_limit(limit), m_byteLimit(byteLimit), m_page(page) {}

    /// False where the page is full before the range is done.
    bool TakePending(const PendingEvents& pending, Span range) {
        const auto take = [&](const std::shared_ptr<const Event>& event) {
            if (!range.Has(event->id) || !m_plan.Takes(KeysOf(*event)))
                return true;
            if (IsFull())
                return false;
            if (!Skip()) {
                m_page.events.push_back(*event);
                m_bytes += ULK_SUCCEEDED(EncodePayload(*event, m_payload)) ? m_payload.size() : 0;
            }
            m_page.cursor.lastId = event->id;
            return true;
        };
        return m_plan.descending ? std::all_of(pending.events.rbegin(), pending.events.rend(), take)
                                 : std::all_of(pending.events.begin(), pending.events.end(), take);
    }

    /// False where the page is full, or the time is up, before the range is done.
    bool TakeStored(EventReader& reader, Span range, Clock::time_point deadline) {
        if (range.IsEmpty())
            return true;
        EventSearch search(reader, m_plan, range, deadline);
        while (!IsFull()) {
            const bool found = search.Next();
            if (!found && !search.IsTimeUp())
                return true;
            m_page.cursor.lastId = search.Position();
            if (!found)
                return false;
            if (Skip())
                continue;
            std::size_t size = 0;
            m_page.events.push_back(search.Current(size));
            m_bytes += size;
        }
        return false;
    }

private:
    bool IsFull() const noexcept { return m_page.events.size() >= m_limit || m_bytes >= m_byteLimit; }
    bool Skip() noexcept {
        if (m_page.cursor.toSkip == 0)
            return false;
        --m_page.cursor.toSkip;
        return true;
    }

    const QueryPlan& m_plan;
    const std::uint32_t m_limit;
    const std::size_t m_byteLimit;
    EventPage& m_page;
    std::size_t m_bytes = 0;
    std::string m_payload;
};

} // namespace

void EventQueries::Read(Event::IdType afterId, Event::IdType upToId, std::size_t limit, std::vector<Event>& events) {
    const std::size_t before = events.size();
    // Ids are given in the order of writing: behind an event that isn't on disk, none is.
    if (m_pending.events.empty() || m_pending.events.front()->id > afterId + 1)
        if (const auto reader = m_readers.Take())
            reader->Read(afterId, upToId, limit, events);
    const Event::IdType lastRead = events.size() > before ? events.back().id : afterId;
    std::size_t room = limit - (events.size() - before);
    for (const auto& event : m_pending.events) {
        if (room == 0 || event->id > upToId)
            return;
        if (event->id <= lastRead)
            continue;
        events.push_back(*event);
        --room;
    }
}

result_t EventQueries::Query(const EventQuery& query, EventCursor from, std::size_t byteLimit,
                             std::chrono::milliseconds time, EventPage& page) {
    QueryPlan plan;
    if (const result_t result = MakePlan(query, plan); !ULK_SUCCEEDED(result))
        return result;
    page = EventPage();
    page.cursor = from.upToId == 0 ? EventCursor{0, m_pending.lastId, query.offset} : from;
    Span range{1, page.cursor.upToId};
    if (page.cursor.lastId > 0)
        range.Narrow(plan.descending ? Comparison::Less : Comparison::Greater, page.cursor.lastId);
    range.Cut(plan.ids);
    if (query.limit == 0 || range.IsEmpty() || plan.times.IsEmpty())
        return ulk::sOk;

    const auto deadline = Clock::now() + time;
    const auto reader = m_readers.Take();
    std::optional<EventReader::Snapshot> snapshot;
    Span onDisk{1, 0};
    if (reader) {
        snapshot.emplace(*reader);
        onDisk.last = reader->GreatestId();
    }
    Span notYet{onDisk.last + 1, std::numeric_limits<Event::IdType>::max()};
    onDisk.Cut(range);
    notYet.Cut(range);
    PageFiller filler(plan, query.limit, byteLimit, page);
    const auto fromDisk = [&] { return !reader || filler.TakeStored(*reader, onDisk, deadline); };
    const auto fromMemory = [&] { return filler.TakePending(m_pending, notYet); };
    page.more = plan.descending ? !(fromMemory() && fromDisk()) : !(fromDisk() && fromMemory());
    return ulk::sOk;
}

} // namespace tfs::service::store
