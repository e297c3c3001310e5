// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/store/event_schema.h>
#include <service/store/event_search.h>

namespace tfs::service::store {
namespace {

constexpr std::uint32_t LooksBetweenClocks = 256;

} // namespace

std::string EventSearch::SqlOfBlocks(bool descending) {
    return std::string("SELECT number, least, greatest FROM block WHERE greatest >= ?1 AND least <= ?2 AND number "
                       "BETWEEN ?3 AND ?4 ORDER BY number") +
           (descending ? " DESC" : "");
}

EventSearch::EventSearch(EventReader& reader, const QueryPlan& plan, Span range, Clock::time_point deadline)
    : m_reader(reader), m_plan(plan), m_deadline(deadline), m_candidates(reader.Database(), plan, range),
      m_from(FirstOf(range)), m_position(plan.descending ? range.last + 1 : range.first - 1) {
    if (plan.LimitsTime())
        FindBlocks(range);
    else
        m_blocks.push_back({range, true});
}

void EventSearch::FindBlocks(Span range) {
    Statement find = m_reader.Database().Prepare(SqlOfBlocks(m_plan.descending));
    find.Bind(1, m_plan.times.first);
    find.Bind(2, m_plan.times.last);
    find.Bind(3, range.first / BlockSize);
    find.Bind(4, range.last / BlockSize);
    while (find.Step()) {
        const std::int64_t first = find.Number(0) * BlockSize;
        Block block{{first, first + BlockSize - 1},
                    m_plan.times.Has(find.Number(1)) && m_plan.times.Has(find.Number(2))};
        block.ids.Cut(range);
        m_blocks.push_back(block);
    }
}

bool EventSearch::Next() {
    while (m_block < m_blocks.size()) {
        if (IsBefore(m_from, FirstOf(m_blocks[m_block].ids)))
            m_from = FirstOf(m_blocks[m_block].ids);
        const auto candidate = m_candidates.Next(m_from);
        if (!candidate)
            break;
        while (m_block < m_blocks.size() && IsBefore(LastOf(m_blocks[m_block].ids), *candidate))
            ++m_block;
        if (m_block == m_blocks.size())
            break;
        const Block& block = m_blocks[m_block];
        if (!block.ids.Has(*candidate))
            continue; // between two blocks
        if (++m_looked % LooksBetweenClocks == 0 && Clock::now() >= m_deadline) {
            m_timeUp = true;
            return false;
        }
        m_position = *candidate;
        m_from = m_plan.descending ? *candidate - 1 : *candidate + 1;
        m_atRow = !block.whole || !m_candidates.IsExact();
        if (!m_atRow || (m_reader.Seek(*candidate) && m_plan.Takes(m_reader.Keys())))
            return true;
    }
    m_block = m_blocks.size();
    return false;
}

Event EventSearch::Current(std::size_t& payloadSize) {
    if (!m_atRow)
        m_reader.Seek(m_position);
    m_atRow = true;
    payloadSize = m_reader.PayloadSize();
    return m_reader.Current();
}

} // namespace tfs::service::store
