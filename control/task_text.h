// SPDX-License-Identifier: GPL-2.0-or-later
// How a user names a task.
#pragma once

#include <foundation/string16.h>

#include <string>

namespace tfs::control {

/// The text for the service. A Failure (NotFound) where it isn't UTF-8: no task has such a name.
ulk::types::string16_t TaskText(const std::string& idOrName);

/// "task \"...\"", safe on a terminal.
std::string TaskQuoted(const std::string& idOrName);

} // namespace tfs::control
