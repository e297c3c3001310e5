// SPDX-License-Identifier: GPL-2.0-or-later
// The system calls that a worker may make; any other one kills it.
#pragma once

namespace tfs::scanner {

/// Puts the filter in force for this process; `channel` is the one socket it may use. Throws std::system_error.
void FilterSystemCalls(int channel);

} // namespace tfs::scanner
