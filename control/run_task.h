// SPDX-License-Identifier: GPL-2.0-or-later
// Runs a task from its start to its end and reports the result.
#pragma once

#include <control/command_context.h>

#include <string>

namespace tfs::control {

struct RunOptions {
    bool showProgress = false;
    bool deleteUnlessStarted = false; ///< a task that was made for this run alone
};

/// Starts a stopped scan task, waits, tells findings as they come and the summary at the end. The exit code tells the
/// result. Throws Failure.
ExitCode RunScan(const CommandContext& context, const core::TaskInfo& task, const RunOptions& options);

/// The same for an update or a rollback of the databases.
ExitCode RunUpdate(const CommandContext& context, const core::TaskInfo& task, const RunOptions& options);

/// Runs the task of that id or name; one that is neither update nor rollback counts as a scan. Throws Failure.
ExitCode RunTask(const CommandContext& context, const std::string& idOrName, bool showProgress);

} // namespace tfs::control
