// SPDX-License-Identifier: GPL-2.0-or-later
// The search for a query's answer among the events on disk.
#pragma once

#include <service/store/candidate_ids.h>
#include <service/store/event_reader.h>
#include <service/store/query_plan.h>

#include <chrono>
#include <vector>

namespace tfs::service::store {

/// Goes from match to match in the plan's order. Where the plan limits the time, only the blocks of ids are looked at
/// whose summary says that they may hold something. Lives within one snapshot of the reader; throws SqliteError.
class EventSearch {
public:
    using Clock = std::chrono::steady_clock;

    /// `range` bounds the ids beside the plan. Begun after the deadline it still looks at a few rows.
    EventSearch(EventReader& reader, const QueryPlan& plan, Span range, Clock::time_point deadline);

    /// False where there is no further match, or where the time is up.
    bool Next();
    bool IsTimeUp() const noexcept { return m_timeUp; }
    /// How many candidates have been looked at.
    std::uint32_t Looked() const noexcept { return m_looked; }
    /// Everything up to this id, in the plan's order, has been dealt with.
    Event::IdType Position() const noexcept { return m_position; }
    /// The match.
    Event Current(std::size_t& payloadSize);

    /// The statement for the blocks that may hold a time, with both as parameters.
    static std::string SqlOfBlocks(bool descending);

private:
    struct Block {
        Span ids;
        bool whole; ///< every row of it has a time that the plan takes
    };

    void FindBlocks(Span range);
    bool IsBefore(Event::IdType a, Event::IdType b) const noexcept { return m_plan.descending ? a > b : a < b; }
    Event::IdType FirstOf(const Span& ids) const noexcept { return m_plan.descending ? ids.last : ids.first; }
    Event::IdType LastOf(const Span& ids) const noexcept { return m_plan.descending ? ids.first : ids.last; }

    EventReader& m_reader;
    const QueryPlan& m_plan;
    const Clock::time_point m_deadline;
    std::vector<Block> m_blocks; ///< in the plan's order
    std::size_t m_block = 0;
    CandidateIds m_candidates;
    Event::IdType m_from;
    Event::IdType m_position;
    std::uint32_t m_looked = 0;
    bool m_atRow = false;
    bool m_timeUp = false;
};

} // namespace tfs::service::store
