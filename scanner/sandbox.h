// SPDX-License-Identifier: GPL-2.0-or-later
// What a worker gives up before it sees the first byte of a file.
#pragma once

#include <cstdint>
#include <string>

namespace tfs::scanner {

struct WorkerLimits {
    std::uint64_t addressSpace = 0; ///< bytes, everything included
    std::uint64_t fileSize = 0;     ///< bytes of one temporary file
};

/// Bytes of address space that this process uses now.
std::uint64_t AddressSpaceInUse();

/// Shuts the calling worker in: resource limits, files of `folder` only, filtered system calls. Throws
/// std::system_error when a part that never may be missing is; says whether the kernel limited the files.
bool EnterSandbox(const std::string& folder, int channel, const WorkerLimits& limits);

} // namespace tfs::scanner
