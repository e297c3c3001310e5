// SPDX-License-Identifier: GPL-2.0-or-later
// Conditions on objects in Storage, tested once and then asked of many.
#pragma once

#include <service/storage/object_record.h>

#include <vector>

namespace tfs::service::storage {

class BackupQuery {
public:
    /// eInvalidArgument for a clause outside the vocabulary; the query passes nothing then.
    result_t Read(const QueryFilter& filter);
    bool Passes(const ObjectRecord& object) const noexcept;

private:
    enum class Condition { IsObject, IsNotObject, IsContainerOf };
    struct Clause {
        Condition condition;
        BackupId id;
    };
    static bool Meets(const Clause& clause, const ObjectRecord& object) noexcept;

    bool m_isValid = false;
    std::vector<Clause> m_all; ///< each has to be met
    std::vector<Clause> m_any; ///< one has to be met, where there are any
};

} // namespace tfs::service::storage
