// SPDX-License-Identifier: GPL-2.0-or-later
// Reads the policy folder, and believes only what nobody but its owner can have written.
#pragma once

#include <foundation/object.h>
#include <service/settings/policy.h>

#include <string>
#include <sys/types.h>

namespace tfs::service::settings {

/// Reads the files `*.ini` of the folder in the order of their names; later ones overrule earlier ones. Keys without a
/// section are application settings, section [Policy] has Name, AllowUserManageLocalTasks and
/// AllowUserManageGroupTasks ("yes" or "no"). The folder and each file must belong to `owner` or root and be writable
/// by nobody else; a file must be a regular one of at most 1 MiB and no link. A file that isn't so, or that has a key
/// or a value that doesn't exist, isn't applied at all; the others are. A missing folder is no policy. Touches the
/// disk; never waits for another program and never throws but std::bad_alloc. The locator has the tracer, and may be
/// null.
Policy ReadPolicyFolder(ulk::IServiceLocator* locator, const std::string& folder, uid_t owner);

} // namespace tfs::service::settings
