// SPDX-License-Identifier: GPL-2.0-or-later
// Where a search looks: the ids under a few keys of the indexes, merged in order.
#pragma once

#include <service/store/query_plan.h>
#include <service/store/sqlite.h>

#include <optional>
#include <string>
#include <vector>

namespace tfs::service::store {

/// Every row that answers the plan is a candidate; a candidate may fail it, unless IsExact. Used by one search, inside
/// one read transaction.
class CandidateIds {
public:
    /// `range` bounds the ids.
    CandidateIds(Connection& connection, const QueryPlan& plan, Span range);

    /// Whether the candidates meet all conditions of the plan but that of its time.
    bool IsExact() const noexcept { return m_exact; }
    /// The first candidate at `from` or behind it, in the plan's order; `from` only ever moves on. Throws SqliteError.
    std::optional<Event::IdType> Next(Event::IdType from);

    /// The statement for ids of one key, with the key as first parameter and the range as the others.
    static std::string SqlOf(QueryField key, bool descending);
    /// The same without a key, for queries that no index helps.
    static std::string SqlOfAll(bool descending);

private:
    struct Leg {
        Statement statement;
        Event::IdType head; ///< before everything until it has been sought
        bool sought = false;
    };

    Leg& AddLeg(Statement statement);
    void AddLeg(Connection& connection, const Condition& key);
    bool IsBefore(Event::IdType a, Event::IdType b) const noexcept { return m_descending ? a > b : a < b; }
    /// Moves the leg to `from` or behind it; false at its end.
    bool Advance(Leg& leg, Event::IdType from) const;

    const bool m_descending;
    const Span m_range;
    bool m_exact = false;
    std::vector<Leg> m_legs; ///< a heap; the leg whose head comes first is at its front
};

} // namespace tfs::service::store
