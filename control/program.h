// SPDX-License-Identifier: GPL-2.0-or-later
// The whole program behind main.
#pragma once

#include <control/command_line.h>
#include <control/reporter.h>
#include <control/terminal.h>

#include <ostream>
#include <string>
#include <vector>

namespace tfs::control {

/// How a command that needs the service gets to it. Returns the command's exit code or throws Failure.
using ServiceRunner = ExitCode (*)(const CommandLine& line, IReporter& reporter);

/// Parses, runs, reports: every failure becomes one report and an exit code. `terminal` is where `out` leads; null
/// where that is none. Throws nothing.
int RunProgram(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err,
               ServiceRunner serviceRunner, ITerminal* terminal = nullptr) noexcept;

} // namespace tfs::control
