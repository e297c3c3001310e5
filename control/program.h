// SPDX-License-Identifier: GPL-2.0-or-later
// The whole program behind main.
#pragma once

#include <control/command_line.h>
#include <control/reporter.h>

#include <ostream>
#include <string>
#include <vector>

namespace tfs::control {

/// How a command that needs the service gets to it. Returns the command's exit code or throws Failure.
using ServiceRunner = ExitCode (*)(const CommandLine& line, IReporter& reporter);

/// Parses, runs, reports: every failure becomes one report and an exit code. Throws nothing.
int RunProgram(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err,
               ServiceRunner serviceRunner) noexcept;

} // namespace tfs::control
