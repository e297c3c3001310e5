// SPDX-License-Identifier: GPL-2.0-or-later
// A query, read and checked: what a client writes as words is typed from here on, and none of it becomes SQL.
#pragma once

#include <contract/tfs/event_query.h>
#include <service/store/row_keys.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace tfs::service::store {

/// More clauses than this are no query. Every value of the vocabulary together is less than a tenth of it.
inline constexpr std::size_t ClausesLimit = 2048;

enum class QueryField { EventId, Date, TaskId, TaskType, EventType };
enum class Comparison { Equal, NotEqual, Less, LessOrEqual, Greater, GreaterOrEqual };

struct Condition {
    QueryField field = QueryField::EventId;
    Comparison comparison = Comparison::Equal;
    std::int64_t number = 0; ///< of every field but TaskType
    std::string text;        ///< of TaskType
    friend bool operator==(const Condition&, const Condition&) = default;
};

/// Both ends belong to it.
struct Span {
    std::int64_t first = std::numeric_limits<std::int64_t>::min();
    std::int64_t last = std::numeric_limits<std::int64_t>::max();

    bool IsEmpty() const noexcept { return first > last; }
    bool Has(std::int64_t value) const noexcept { return first <= value && value <= last; }
    /// Leaves what `comparison` with `value` allows; false for NotEqual, which is no span.
    bool Narrow(Comparison comparison, std::int64_t value) noexcept;
    void Cut(const Span& other) noexcept;
    friend bool operator==(const Span&, const Span&) = default;
};

/// A row answers when it is inside both spans, meets all of `all` and, where there is any, one of `any`.
struct QueryPlan {
    bool descending = true;
    Span ids;
    Span times;
    std::vector<Condition> all;
    std::vector<Condition> any; ///< each once

    bool LimitsTime() const noexcept { return times != Span(); }
    bool Takes(const RowKeys& row) const;
};

/// eInvalidArgument for a word, a value or an order outside the vocabulary, and for too many clauses.
result_t MakePlan(const EventQuery& query, QueryPlan& plan);

} // namespace tfs::service::store
