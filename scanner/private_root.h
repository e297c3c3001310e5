// SPDX-License-Identifier: GPL-2.0-or-later
// The empty folder in which parent and workers live after the signatures are loaded. Made once by the parent.
#pragma once

#include <scanner/settings.h>

#include <cstdint>
#include <string>

namespace tfs::scanner {

/// What a worker's temporary files live in, and how far the process could shut itself in.
struct PrivateRoot {
    std::string folder;   ///< as this process sees it after entering: "/" after a change of root
    bool mounted = false; ///< a tmpfs of its own
    bool changedRoot = false;
    bool otherAccount = false;
    std::string description; ///< for the trace
};

/// Enters the private root: own namespaces and a private tmpfs where the system lets us, a change of root, the
/// unprivileged account where started as root, no supplementary groups, no capabilities, no new privileges. What can't
/// be had is left out and missing in the description; losing root rights is not optional and throws
/// std::system_error, as does a temporary folder that can't be made.
PrivateRoot EnterPrivateRoot(const Settings& settings);

} // namespace tfs::scanner
