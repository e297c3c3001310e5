// SPDX-License-Identifier: GPL-2.0-or-later
// Which of the files that a process runs from are others on disk by now.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace tfs::service::app_info {

/// Paths of the mapped files, in the form of /proc/PID/maps, that are no longer there under their name: removed, or
/// replaced by a newer one. Ascending, each once.
std::vector<std::string> GoneFiles(const std::string& maps);

/// The same for a process; empty where it can't be looked at. Blocking.
std::vector<std::string> GoneFilesOf(pid_t process);

} // namespace tfs::service::app_info
