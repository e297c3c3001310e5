// SPDX-License-Identifier: GPL-2.0-or-later
// Which operating system this is.
#pragma once

#include <string>
#include <vector>

namespace tfs::service::app_info {

struct SystemInfo {
    std::string name = "Linux";
    std::string version; ///< of the distribution, else of the kernel
};

/// Reads the first of the files, in the form of os-release, that can be read: name and version as the distribution
/// writes them for people. Blocking. Without a file the kernel's name and release.
SystemInfo ReadSystemInfo(const std::vector<std::string>& files = {"/etc/os-release", "/usr/lib/os-release"});

} // namespace tfs::service::app_info
