// SPDX-License-Identifier: GPL-2.0-or-later
// What a small program of the system prints.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tfs::service::app_info {

/// Runs the program, whose path is the first argument, without input and with an environment of nothing but the C
/// locale and the system's search path. Blocking. Gives its standard output where it ends with code 0; nothing where it
/// can't be started, fails, prints more than 1 MiB, takes longer than `deadline` or `cancelled` becomes true (looked at
/// several times a second): it is killed then, and nothing of it is left in any case.
std::optional<std::string> ProgramOutput(std::vector<std::string> arguments, std::chrono::milliseconds deadline,
                                         const std::function<bool()>& cancelled);

} // namespace tfs::service::app_info
