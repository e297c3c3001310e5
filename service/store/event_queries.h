// SPDX-License-Identifier: GPL-2.0-or-later
// What has been stored, on disk or still on its way there, as one.
#pragma once

#include <contract/tfs/event_query.h>
#include <service/store/event_page.h>
#include <service/store/event_readers.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <vector>

namespace tfs::service::store {

/// The stored events that were not on disk at one moment. Taken before the database is read: an event that gets from
/// here to there meanwhile is seen in both and told once.
struct PendingEvents {
    std::vector<std::shared_ptr<const Event>> events; ///< ascending
    Event::IdType lastId = 0;                         ///< of the newest stored event, here or on disk
};

/// Answers from the given moment on; later events stay out. Any thread; without a database what is pending is all. All
/// operations throw SqliteError.
class EventQueries {
public:
    /// Both outlive the object.
    EventQueries(EventReaders& readers, const PendingEvents& pending) : m_readers(readers), m_pending(pending) {}

    /// Events with afterId < id <= upToId, ascending, at most `limit`, behind what `events` holds.
    void Read(Event::IdType afterId, Event::IdType upToId, std::size_t limit, std::vector<Event>& events);
    /// The page behind `from`: at most query.limit events, whose payloads have about `byteLimit` bytes together, and
    /// fewer where `time` is up. eInvalidArgument where the query isn't one.
    result_t Query(const EventQuery& query, EventCursor from, std::size_t byteLimit, std::chrono::milliseconds time,
                   EventPage& page);

private:
    EventReaders& m_readers;
    const PendingEvents& m_pending;
};

} // namespace tfs::service::store
