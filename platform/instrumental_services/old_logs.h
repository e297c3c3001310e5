// SPDX-License-Identifier: GPL-2.0-or-later
// Trace files of processes that have ended.
#pragma once

#include <cstddef>
#include <string>

namespace platform::instrumental {

/// Each process writes files of its own, so that nobody else would ever remove them. `stem` is a program's name, ".", a
/// pid and "."; of the files that have another pid in it, whose process has ended, the newest `keep` stay. A stem of
/// another form removes nothing. Failures are ignored: a file too many does no harm.
void PruneOldLogs(const std::string& folder, const std::string& stem, std::size_t keep) noexcept;

} // namespace platform::instrumental
