// SPDX-License-Identifier: GPL-2.0-or-later
// Between those who want files scanned and the scanner's dispatcher.
#pragma once

#include <contract/scanner_channel.h>

#include <cstdint>
#include <memory>
#include <string>

namespace tfs::service::scan {

using scanner::VerdictCode;

struct FileVerdict {
    VerdictCode code = VerdictCode::Clean;
    std::string threat;
    std::string inner;
    std::string detail;
    std::uint64_t basesVersion = 0; ///< of the signatures that gave it; 0 where none did
    bool lost = false;              ///< the scanner went away; nothing is known of the file
    /// With Infected: what was scanned, so that it and nothing else is treated.
    std::shared_ptr<const scanner::Descriptor> file = nullptr;
};

/// What a run asks of each file; the scanner's own limits hold in any case.
struct FileLimits {
    bool archives = true;          ///< false: archives are scanned as plain files
    std::uint64_t maxFileSize = 0; ///< bytes; larger files are over the limit; 0: the scanner's
    std::uint32_t timeLimitMs = 0; ///< 0: the scanner's
};

/// One file to scan. The descriptor is open for reading only.
struct FileJob {
    std::uint64_t token = 0; ///< the client's own number, given back with the verdict
    std::uint64_t size = 0;  ///< bytes
    scanner::Descriptor file;
    FileLimits limits = {};
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
