// SPDX-License-Identifier: GPL-2.0-or-later
// Command --create-task.
#pragma once

#include <control/command_context.h>

#include <string>
#include <vector>

namespace tfs::control {

/// Makes a custom scan of the paths and reports it. Its other settings come from `file` unless that is empty; one that
/// names areas is refused, for the paths are the areas. Throws Failure.
ExitCode CreateTask(const CommandContext& context, const std::vector<std::string>& paths, const std::string& file);

} // namespace tfs::control
