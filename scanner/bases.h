// SPDX-License-Identifier: GPL-2.0-or-later
// What a folder of signature files says about itself without loading it.
#pragma once

#include <cstdint>
#include <string>

namespace tfs::scanner {

struct BasesInfo {
    std::size_t files = 0;   ///< signature files found
    std::int64_t newest = 0; ///< seconds since the Unix epoch: the build time of official sets, else the file's time
    std::uint64_t fingerprint = 0;  ///< changes whenever a file is added, removed or changed
    std::uint64_t patternBytes = 0; ///< size of the files that hold more than plain hashes
    std::string error;              ///< the folder can't be read, or holds no signatures
};

/// Reads the folder; never throws for what it finds there.
BasesInfo InspectBases(const std::string& folder);

} // namespace tfs::scanner
