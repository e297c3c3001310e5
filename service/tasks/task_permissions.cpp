// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/task_permissions.h>

namespace tfs::service::tasks {
namespace {

bool IsOwner(const rpc::Caller& caller, const core::TaskInfo& task) noexcept {
    return task.isTemporary && task.owner && task.owner->uid == caller.uid;
}

} // namespace

bool MayCommandTask(const rpc::Caller& caller, const core::TaskInfo& task, const UserRules& rules) noexcept {
    if (caller.isAdministrator)
        return true;
    if (!(task.isCentralKit != 0 ? rules.allowUserManageGroupTasks : rules.allowUserManageLocalTasks))
        return false;
    return !task.isTemporary || IsOwner(caller, task);
}

bool MayChangeTask(const rpc::Caller& caller, const core::TaskInfo& task, const UserRules& rules) noexcept {
    return caller.isAdministrator || (IsOwner(caller, task) && MayCommandTask(caller, task, rules));
}

} // namespace tfs::service::tasks
