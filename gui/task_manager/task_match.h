// SPDX-License-Identifier: GPL-2.0-or-later
// Which tasks a caller wants: by identifier or name, or by type.
#pragma once

#include <gui/task_manager/task_info.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_set>

namespace tfs::gui {

using MatchFunction = std::function<bool(const TaskInfo&)>;
using TaskTypeSet = std::unordered_set<ulk::types::string16_t>;

/// Types shown on the page of scans, and on the page of updates. Built on first use.
const TaskTypeSet& ScanTaskTypes();
const TaskTypeSet& UpdateTaskTypes();

/// Matches a task whose identifier or name is the text; one that isn't a number leaves only the name.
class IsTaskByTaskIdOrName {
public:
    explicit IsTaskByTaskIdOrName(const std::string& idOrName);
    bool operator()(const TaskInfo& task) const;

private:
    ulk::types::string16_t m_name;
    std::optional<std::uint64_t> m_id;
};

/// Matches a task of one of the types. The set must outlive the predicate.
class IsTaskByType {
public:
    explicit IsTaskByType(const TaskTypeSet& types) : m_types(&types) {}
    bool operator()(const TaskInfo& task) const { return m_types->count(task.core.taskType) != 0; }

private:
    const TaskTypeSet* m_types;
};

} // namespace tfs::gui
