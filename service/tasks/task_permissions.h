// SPDX-License-Identifier: GPL-2.0-or-later
// Who may do what with a task. Pure, any thread.
#pragma once

#include <contract/tfs/tasks.h>
#include <service/rpc/service_api.h>

#include <cstddef>

namespace tfs::service::tasks {

/// What settings and policy let users do who aren't administrators.
struct UserRules {
    bool allowUserManageLocalTasks = true;
    bool allowUserManageGroupTasks = true;
    std::size_t maxTemporaryOfUser = 100; ///< custom scans; administrators are bound by it too
};

/// Start, stop, pause, resume, delete.
bool MayCommandTask(const rpc::Caller& caller, const core::TaskInfo& task, const UserRules& rules) noexcept;
/// Settings and schedule.
bool MayChangeTask(const rpc::Caller& caller, const core::TaskInfo& task, const UserRules& rules) noexcept;

} // namespace tfs::service::tasks
