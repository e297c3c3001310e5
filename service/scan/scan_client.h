// SPDX-License-Identifier: GPL-2.0-or-later
// Between those who want files scanned and the scanner's dispatcher.
#pragma once

#include <contract/scanner_channel.h>

#include <cstdint>
#include <string>

namespace tfs::service::scan {

using scanner::VerdictCode;

struct FileVerdict {
    VerdictCode code = VerdictCode::Clean;
    std::string threat;
    std::string inner;
    std::string detail;
};

/// One file to scan. The descriptor is open for reading only.
struct FileJob {
    std::uint64_t token = 0; ///< the client's own number, given back with the verdict
    std::uint64_t size = 0;  ///< bytes
    scanner::Descriptor file;
};

/// Called on the scanner's thread without a lock held; must return soon and may call the dispatcher.
class IScanClient {
public:
    virtual ~IScanClient() = default;
    /// Once for each job.
    virtual void OnVerdict(std::uint64_t token, FileVerdict verdict) = 0;
    /// Bytes read so far of a file that takes long.
    virtual void OnBytes(std::uint64_t token, std::uint64_t bytes) = 0;
};

} // namespace tfs::service::scan
