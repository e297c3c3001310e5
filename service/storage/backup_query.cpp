// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/storage/backup_query.h>

#include <algorithm>
#include <optional>

namespace tfs::service::storage {

result_t BackupQuery::Read(const QueryFilter& filter) {
    m_isValid = false;
    m_all.clear();
    m_any.clear();
    for (const QueryClause& each : filter) {
        std::optional<Condition> condition;
        if (each.field == u"ObjectId" && each.operation == u"==")
            condition = Condition::IsObject;
        else if (each.field == u"ObjectId" && each.operation == u"!=")
            condition = Condition::IsNotObject;
        else if (each.field == u"ChildrenList" && each.operation == u"contains")
            condition = Condition::IsContainerOf;
        const auto* id = each.value.As<std::uint64_t>();
        if (!condition || id == nullptr || (each.logic != u"AND" && each.logic != u"OR"))
            return ulk::eInvalidArgument;
        (each.logic == u"AND" ? m_all : m_any).push_back({*condition, *id});
    }
    m_isValid = true;
    return ulk::sOk;
}

bool BackupQuery::Meets(const Clause& clause, const ObjectRecord& object) noexcept {
    switch (clause.condition) {
    case Condition::IsObject:
        return object.id == clause.id;
    case Condition::IsNotObject:
        return object.id != clause.id;
    case Condition::IsContainerOf: // a file comes whole into Storage, and nothing in it has a number of its own
        return false;
    }
    return false;
}

bool BackupQuery::Passes(const ObjectRecord& object) const noexcept {
    const auto meets = [&object](const Clause& clause) { return Meets(clause, object); };
    return m_isValid && std::all_of(m_all.begin(), m_all.end(), meets) &&
           (m_any.empty() || std::any_of(m_any.begin(), m_any.end(), meets));
}

} // namespace tfs::service::storage
