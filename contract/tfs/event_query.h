// SPDX-License-Identifier: GPL-2.0-or-later
// Questions to the event store.
#pragma once

#include <contract/tfs/event.h>

#include <cstdint>

namespace tfs {

/// One condition. Fields and the values that they take: "EventId" (signed 64-bit), "Date" (signed 64-bit, seconds since
/// 1970-01-01 UTC), "TaskId" (unsigned 64-bit), "TaskType" (wide text), "EventType" (unsigned 32-bit). Comparisons:
/// "==", "!=", "<", "<=", ">", ">="; the last four for EventId and Date alone.
struct QueryClause {
    ulk::types::string16_t field;
    ulk::types::string16_t operation;
    ulk::types::variant_t value;
    ulk::types::string16_t logic = u"AND"; ///< "AND" or "OR"
    friend bool operator==(const QueryClause&, const QueryClause&) = default;
};

/// An event answers a query when it meets every AND clause and, where there are OR clauses, at least one of them.
struct EventQuery {
    ulk::types::vector_t<QueryClause> filters;
    std::uint32_t limit = 0xFFFFFFFFu;
    std::uint32_t offset = 0;
    ulk::types::string16_t orderBy = u"EventID DESC"; ///< or "EventID ASC"
    friend bool operator==(const EventQuery&, const EventQuery&) = default;
};

class IEventStorer : public ulk::IObject {
public:
    static constexpr ulk::iid_t Iid = 0xE343F256u;
    virtual result_t GetEventCount(std::uint64_t& count) = 0;
    /// The oldest event kept; eNotFound where there is none.
    virtual result_t GetOldestEvent(Event& event) = 0;
    /// eNotFound for an id that isn't stored any more.
    virtual result_t GetEvent(Event::IdType id, Event& event) = 0;
    /// Replaces `events` by the answer; on failure it stays as it was. eInvalidArgument for a clause, an order or a
    /// value outside the vocabulary above; eAccessDenied where the settings keep reports for privileged users.
    virtual result_t QueryEvents(const EventQuery& query, ulk::types::vector_t<Event>& events) = 0;

protected:
    ~IEventStorer() = default;
};

} // namespace tfs
