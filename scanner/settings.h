// SPDX-License-Identifier: GPL-2.0-or-later
// What the service passes on the command line. Value type.
#pragma once

#include <cstdint>
#include <string>

namespace tfs::scanner {

struct Settings {
    std::string basesFolder;
    std::string temporaryFolder; ///< made by the scanner where it can't mount a tmpfs; removed by the service
    std::string mountPoint;      ///< where a private tmpfs is mounted; empty: /dev/shm
    std::uint64_t memoryLimit = std::uint64_t{3} << 30;   ///< bytes of a worker beyond the loaded signatures
    std::uint64_t maxFileSize = std::uint64_t{1} << 30;   ///< bytes
    std::uint64_t maxScanSize = std::uint64_t{2} << 30;   ///< bytes of a file and all its parts
    std::uint64_t temporarySize = std::uint64_t{2} << 30; ///< bytes of the private tmpfs, at most a quarter of memory
    std::uint32_t timeLimitMs = 120000;                   ///< for one file
    std::uint32_t maxRecursion = 17;                      ///< containers in containers
    std::uint32_t maxFiles = 100000;                      ///< parts of one file
    bool selfTest = false;                                ///< try the sandbox from inside, print, end
};

/// Reads the arguments. Throws std::invalid_argument that names the argument when one is unknown, lacks its value or
/// has a value that is no number in range.
Settings ParseArguments(int argc, const char* const* argv);

} // namespace tfs::scanner
