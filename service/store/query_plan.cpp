// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/store/query_plan.h>

#include <algorithm>
#include <string_view>

namespace tfs::service::store {
namespace {

using Limits = std::numeric_limits<std::int64_t>;

template <class Meaning>
struct Word {
    std::u16string_view text;
    Meaning meaning;
};

constexpr Word<QueryField> Fields[] = {
    {u"EventId", QueryField::EventId},   {u"Date", QueryField::Date},           {u"TaskId", QueryField::TaskId},
    {u"TaskType", QueryField::TaskType}, {u"EventType", QueryField::EventType},
};
constexpr Word<Comparison> Comparisons[] = {
    {u"==", Comparison::Equal},       {u"!=", Comparison::NotEqual}, {u"<", Comparison::Less},
    {u"<=", Comparison::LessOrEqual}, {u">", Comparison::Greater},   {u">=", Comparison::GreaterOrEqual},
};
constexpr Word<bool> Alternatives[] = {{u"AND", false}, {u"OR", true}};
constexpr Word<bool> Descending[] = {{u"EventID DESC", true}, {u"EventID ASC", false}};

template <class Meaning, std::size_t Size>
bool ReadWord(const Word<Meaning> (&words)[Size], std::u16string_view text, Meaning& meaning) noexcept {
    for (const Word<Meaning>& word : words)
        if (word.text == text) {
            meaning = word.meaning;
            return true;
        }
    return false;
}

bool ReadValue(const ulk::types::variant_t& value, Condition& condition) {
    switch (condition.field) {
    case QueryField::EventId:
    case QueryField::Date:
        if (const auto* number = value.As<std::int64_t>()) {
            condition.number = *number;
            return true;
        }
        return false;
    case QueryField::TaskId:
        if (const auto* number = value.As<std::uint64_t>()) {
            condition.number = TaskIdKey(*number);
            return true;
        }
        return false;
    case QueryField::TaskType:
        if (const auto* text = value.As<ulk::types::string16_t>()) {
            condition.text = TaskTypeKey(*text);
            return true;
        }
        return false;
    case QueryField::EventType:
        if (const auto* number = value.As<std::uint32_t>()) {
            condition.number = *number;
            return true;
        }
        return false;
    }
    return false;
}

bool IsOrdered(QueryField field) noexcept { return field == QueryField::EventId || field == QueryField::Date; }

bool ReadClause(const QueryClause& clause, Condition& condition, bool& isAlternative) {
    if (!ReadWord(Fields, clause.field, condition.field) ||
        !ReadWord(Comparisons, clause.operation, condition.comparison) ||
        !ReadWord(Alternatives, clause.logic, isAlternative) || !ReadValue(clause.value, condition))
        return false;
    return IsOrdered(condition.field) || condition.comparison == Comparison::Equal ||
           condition.comparison == Comparison::NotEqual;
}

bool Compare(std::int64_t left, Comparison comparison, std::int64_t right) noexcept {
    switch (comparison) {
    case Comparison::Equal:
        return left == right;
    case Comparison::NotEqual:
        return left != right;
    case Comparison::Less:
        return left < right;
    case Comparison::LessOrEqual:
        return left <= right;
    case Comparison::Greater:
        return left > right;
    case Comparison::GreaterOrEqual:
        return left >= right;
    }
    return false;
}

/// What a row doesn't have is unequal to everything.
bool Meets(const RowKeys& row, const Condition& condition) {
    switch (condition.field) {
    case QueryField::EventId:
        return Compare(row.id, condition.comparison, condition.number);
    case QueryField::Date:
        return Compare(row.time, condition.comparison, condition.number);
    case QueryField::EventType:
        return Compare(row.type, condition.comparison, condition.number);
    case QueryField::TaskId:
        return (row.taskId == condition.number) == (condition.comparison == Comparison::Equal);
    case QueryField::TaskType:
        return (row.taskType == condition.text) == (condition.comparison == Comparison::Equal);
    }
    return false;
}

bool Order(const Condition& a, const Condition& b) {
    return std::tie(a.field, a.comparison, a.number, a.text) < std::tie(b.field, b.comparison, b.number, b.text);
}

} // namespace

bool Span::Narrow(Comparison comparison, std::int64_t value) noexcept {
    const Span nothing{Limits::max(), Limits::min()};
    switch (comparison) {
    case Comparison::Equal:
        Cut({value, value});
        return true;
    case Comparison::Less:
        Cut(value == Limits::min() ? nothing : Span{Limits::min(), value - 1});
        return true;
    case Comparison::LessOrEqual:
        Cut({Limits::min(), value});
        return true;
    case Comparison::Greater:
        Cut(value == Limits::max() ? nothing : Span{value + 1, Limits::max()});
        return true;
    case Comparison::GreaterOrEqual:
        Cut({value, Limits::max()});
        return true;
    case Comparison::NotEqual:
        break;
    }
    return false;
}

void Span::Cut(const Span& other) noexcept {
    first = std::max(first, other.first);
    last = std::min(last, other.last);
}

bool QueryPlan::Takes(const RowKeys& row) const {
    const auto meets = [&row](const Condition& condition) { return Meets(row, condition); };
    return ids.Has(row.id) && times.Has(row.time) && std::all_of(all.begin(), all.end(), meets) &&
           (any.empty() || std::any_of(any.begin(), any.end(), meets));
}

result_t MakePlan(const EventQuery& query, QueryPlan& plan) {
    plan = QueryPlan();
    if (query.filters.size() > ClausesLimit || !ReadWord(Descending, query.orderBy, plan.descending))
        return ulk::eInvalidArgument;
    for (const QueryClause& clause : query.filters) {
        Condition condition;
        bool isAlternative = false;
        if (!ReadClause(clause, condition, isAlternative))
            return ulk::eInvalidArgument;
        if (isAlternative) {
            plan.any.push_back(std::move(condition));
            continue;
        }
        const bool isSpan =
            (condition.field == QueryField::EventId && plan.ids.Narrow(condition.comparison, condition.number)) ||
            (condition.field == QueryField::Date && plan.times.Narrow(condition.comparison, condition.number));
        if (!isSpan)
            plan.all.push_back(std::move(condition));
    }
    std::sort(plan.any.begin(), plan.any.end(), Order);
    plan.any.erase(std::unique(plan.any.begin(), plan.any.end()), plan.any.end());
    return ulk::sOk;
}

} // namespace tfs::service::store
