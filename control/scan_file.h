// SPDX-License-Identifier: GPL-2.0-or-later
// Command --scan-file.
#pragma once

#include <control/command_context.h>

#include <string>
#include <vector>

namespace tfs::control {

/// Scans the paths by a temporary task and waits for its end; a request to stop stops the task. The exit code tells
/// the result. Throws Failure, also where the service goes away during the scan.
ExitCode ScanFile(const CommandContext& context, const std::vector<std::string>& arguments);

} // namespace tfs::control
