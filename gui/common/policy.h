// SPDX-License-Identifier: GPL-2.0-or-later
// Whether a central policy binds the user. Each call asks the service anew and blocks.
#pragma once

#include <foundation/result.h>

namespace tfs::gui::policy {

/// True exactly when the service says that a policy is in force; every failure is false. Never throws.
bool IsUnderPolicy() noexcept;
/// There is no policy of its own for the network: the same answer.
bool IsTSNUnderPolicy() noexcept;
/// May this user manage local tasks, and tasks of the central console? eUnspecified, with the flags untouched, where
/// the service doesn't have the interface. Throws ulk::RuntimeError without a connection.
result_t IsUserManageTasksAllowed(bool& localTasks, bool& groupTasks);

} // namespace tfs::gui::policy
