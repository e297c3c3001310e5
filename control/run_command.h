// SPDX-License-Identifier: GPL-2.0-or-later
// From a command line to the command's function.
#pragma once

#include <control/command_context.h>
#include <control/command_line.h>

namespace tfs::control {

/// Runs a command that needs the service. Throws Failure.
ExitCode RunServiceCommand(const CommandLine& line, const CommandContext& context);

} // namespace tfs::control
