// SPDX-License-Identifier: GPL-2.0-or-later
// Tries, from inside a worker's sandbox, what it must not be able to do.
#pragma once

#include <scanner/private_root.h>
#include <scanner/sandbox.h>

namespace tfs::scanner {

/// Forks one sandboxed process for each attempt and prints a line "name: held" or "name: broken (what happened)".
/// Returns 0 when all held.
int SelfTest(const PrivateRoot& root, const WorkerLimits& limits);

} // namespace tfs::scanner
