// SPDX-License-Identifier: GPL-2.0-or-later
// The tasks that always exist, and what may be done with a task of each type.
#pragma once

#include <contract/tfs/tasks.h>

#include <span>
#include <string_view>

namespace tfs::service::tasks {

struct FixedTask {
    FixedTaskId id;
    const char16_t* name;
    const char16_t* type;
};

/// Ascending by id. Constant data, any thread.
std::span<const FixedTask> FixedTasks() noexcept;

/// What tasks of a type have in common.
struct TaskTraits {
    bool canPause = false;
    bool hasSchedule = false;       ///< a temporary task has none all the same
    bool changesSignatures = false; ///< only one such task runs at a time
    bool isLasting = false;         ///< runs from the service's start on, until a user stops it
};
TaskTraits TraitsOf(std::u16string_view taskType) noexcept;

/// What a new task of that type has; empty where it has no settings.
ulk::types::any_struct_t DefaultSettings(std::u16string_view taskType);
TaskSchedule DefaultSchedule(std::u16string_view taskType);

} // namespace tfs::service::tasks
