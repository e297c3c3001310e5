// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/store/candidate_ids.h>

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <utility>

namespace tfs::service::store {
namespace {

/// With more keys than this reading everything is as good.
constexpr std::size_t LegsLimit = 256;

const char* ColumnOf(QueryField key) noexcept {
    switch (key) {
    case QueryField::TaskId:
        return "task";
    case QueryField::TaskType:
        return "ttype";
    case QueryField::EventType:
        return "etype";
    case QueryField::EventId:
    case QueryField::Date:
        break;
    }
    return "id";
}

std::string Sql(const std::string& condition, bool descending) {
    return "SELECT id FROM ev WHERE " + condition + "id BETWEEN ?2 AND ?3 ORDER BY id" + (descending ? " DESC" : "");
}

/// A key of an index, or an id itself. Dates have no index: their ids come from the summary of blocks.
bool IsKey(const Condition& condition) noexcept {
    return condition.comparison == Comparison::Equal && condition.field != QueryField::Date;
}

/// The one AND condition that leaves the fewest rows, as far as its field tells; null where none is a key.
const Condition* BestKey(const std::vector<Condition>& all) noexcept {
    for (const QueryField field : {QueryField::TaskId, QueryField::EventType, QueryField::TaskType})
        for (const Condition& condition : all)
            if (condition.field == field && IsKey(condition))
                return &condition;
    return nullptr;
}

} // namespace

std::string CandidateIds::SqlOf(QueryField key, bool descending) {
    return Sql(std::string(ColumnOf(key)) + " = ?1 AND ", descending);
}

std::string CandidateIds::SqlOfAll(bool descending) { return Sql("", descending); }

CandidateIds::CandidateIds(Connection& connection, const QueryPlan& plan, Span range)
    : m_descending(plan.descending), m_range(range) {
    if (const Condition* key = BestKey(plan.all)) {
        AddLeg(connection, *key);
        m_exact = plan.all.size() == 1 && plan.any.empty();
    } else if (!plan.any.empty() && plan.any.size() <= LegsLimit &&
               std::all_of(plan.any.begin(), plan.any.end(), IsKey)) {
        for (const Condition& alternative : plan.any)
            AddLeg(connection, alternative);
        m_exact = plan.all.empty();
    } else {
        AddLeg(connection.Prepare(SqlOfAll(m_descending)));
        m_exact = plan.all.empty() && plan.any.empty();
    }
}

CandidateIds::Leg& CandidateIds::AddLeg(Statement statement) {
    using Limits = std::numeric_limits<Event::IdType>;
    return m_legs.emplace_back(Leg{std::move(statement), m_descending ? Limits::max() : Limits::min()});
}

void CandidateIds::AddLeg(Connection& connection, const Condition& key) {
    Leg& leg = AddLeg(connection.Prepare(SqlOf(key.field, m_descending)));
    if (key.field == QueryField::TaskType)
        leg.statement.BindText(1, key.text);
    else
        leg.statement.Bind(1, key.number);
}

bool CandidateIds::Advance(Leg& leg, Event::IdType from) const {
    // The next one of the leg will mostly do; where it is still too early the leg has to look anew.
    if (leg.sought) {
        if (!leg.statement.Step())
            return false;
        leg.head = leg.statement.Number(0);
        if (!IsBefore(leg.head, from))
            return true;
    }
    leg.sought = true;
    leg.statement.Reset();
    leg.statement.Bind(2, m_descending ? m_range.first : from);
    leg.statement.Bind(3, m_descending ? from : m_range.last);
    if (!leg.statement.Step())
        return false;
    leg.head = leg.statement.Number(0);
    return true;
}

std::optional<Event::IdType> CandidateIds::Next(Event::IdType from) {
    const auto later = [this](const Leg& a, const Leg& b) { return IsBefore(b.head, a.head); };
    while (!m_legs.empty() && (!m_legs.front().sought || IsBefore(m_legs.front().head, from))) {
        std::pop_heap(m_legs.begin(), m_legs.end(), later);
        if (Advance(m_legs.back(), from))
            std::push_heap(m_legs.begin(), m_legs.end(), later);
        else
            m_legs.pop_back();
    }
    if (m_legs.empty())
        return std::nullopt;
    return m_legs.front().head;
}

} // namespace tfs::service::store
