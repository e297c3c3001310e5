// SPDX-License-Identifier: GPL-2.0-or-later
// Queries for events: refused, or a plan that takes exactly the rows that its clauses, one by one, allow.
#include <service/store/query_plan.h>
#include <tests/fuzz/input.h>

#include <algorithm>
#include <limits>

namespace {

using tfs::QueryClause;
using tfs::fuzz::TakeByte;
using tfs::service::store::RowKeys;
using Limits = std::numeric_limits<std::int64_t>;

constexpr std::int64_t Numbers[] = {Limits::min(), Limits::min() + 1, -1, 0, 1, 2, Limits::max() - 1, Limits::max()};
constexpr const char16_t* Fields[] = {u"EventId", u"Date", u"EventType", u"TaskType", u"TaskId", u"eventid"};
constexpr const char16_t* Operations[] = {u"==", u"!=", u"<", u"<=", u">", u">=", u"="};
constexpr const char16_t* Logics[] = {u"AND", u"OR", u"XOR"};

template <class Item, std::size_t Size>
Item Choose(const Item (&items)[Size], std::string_view& input) {
    return items[TakeByte(input) % Size];
}

ulk::types::variant_t TakeValue(std::string_view& input) {
    const std::int64_t number = Choose(Numbers, input);
    switch (TakeByte(input) % 4) {
    case 0:
        return number;
    case 1:
        return static_cast<std::uint64_t>(number);
    case 2:
        return static_cast<std::uint32_t>(number);
    default:
        return ulk::types::string16_t(number < 1 ? u"ODS" : u"");
    }
}

QueryClause TakeClause(std::string_view& input) {
    QueryClause clause;
    clause.field = Choose(Fields, input);
    clause.operation = Choose(Operations, input);
    clause.logic = Choose(Logics, input);
    clause.value = TakeValue(input);
    return clause;
}

template <class Value>
bool Compare(const Value& left, const ulk::types::string16_t& operation, const Value& right) {
    return (operation == u"==" && left == right) || (operation == u"!=" && left != right) ||
           (operation == u"<" && left < right) || (operation == u"<=" && left <= right) ||
           (operation == u">" && left > right) || (operation == u">=" && left >= right);
}

bool Meets(const RowKeys& row, const QueryClause& clause) {
    if (clause.field == u"EventId")
        return Compare(row.id, clause.operation, *clause.value.As<std::int64_t>());
    if (clause.field == u"Date")
        return Compare(row.time, clause.operation, *clause.value.As<std::int64_t>());
    if (clause.field == u"EventType")
        return Compare(row.type, clause.operation, std::int64_t{*clause.value.As<std::uint32_t>()});
    if (clause.field == u"TaskId")
        return Compare(static_cast<std::uint64_t>(*row.taskId), clause.operation, *clause.value.As<std::uint64_t>());
    return Compare(*row.taskType, clause.operation, ulk::text::ToUtf8Lossy(*clause.value.As<ulk::types::string16_t>()));
}

bool Answers(const RowKeys& row, const std::vector<QueryClause>& clauses) {
    bool isAnyAlternative = false;
    bool isOneMet = false;
    for (const QueryClause& clause : clauses) {
        if (clause.logic == u"AND" && !Meets(row, clause))
            return false;
        isAnyAlternative |= clause.logic == u"OR";
        isOneMet |= clause.logic == u"OR" && Meets(row, clause);
    }
    return isOneMet || !isAnyAlternative;
}

} // namespace

void tfs::fuzz::Run(std::string_view input) {
    RowKeys row;
    row.id = Choose(Numbers, input);
    row.time = Choose(Numbers, input);
    row.type = TakeByte(input) % 3;
    row.taskType = "ODS";
    row.taskId = TakeByte(input) % 3;
    EventQuery query;
    while (!input.empty())
        query.filters.push_back(TakeClause(input));
    service::store::QueryPlan plan;
    if (ULK_SUCCEEDED(service::store::MakePlan(query, plan)))
        Require(plan.Takes(row) == Answers(row, query.filters));
}
