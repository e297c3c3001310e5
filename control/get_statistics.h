// SPDX-License-Identifier: GPL-2.0-or-later
// Commands --get-statistics and --delete-statistics.
#pragma once

#include <control/command_context.h>

#include <string>
#include <vector>

namespace tfs::control {

/// Reports the statistics of the tasks that are named, or of all that have any, in the order of their ids; those of
/// temporary tasks outlive them. Throws Failure, with ExitCode::NotFound for a task without statistics.
ExitCode GetStatistics(const CommandContext& context, const std::vector<std::string>& idsOrNames);

/// Deletes what is kept of a task's last run, which is its owner's right and an administrator's, and reports whose it
/// was. Throws Failure, with ExitCode::NotFound for a task without statistics and InvalidState while it runs.
ExitCode DeleteStatistics(const CommandContext& context, const std::string& idOrName);

} // namespace tfs::control
