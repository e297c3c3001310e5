// SPDX-License-Identifier: GPL-2.0-or-later
// What tasks need of the scanner.
#pragma once

#include <service/scan/scan_run.h>

#include <functional>
#include <memory>
#include <string>

namespace tfs::service::tasks {

/// What a scan looks at.
enum class ScanKind {
    Files,       ///< of its areas
    Memory,      ///< what running processes have mapped
    BootRecords, ///< of disks and partitions
};

/// Implemented by the service's application object; outlives the task registry. Called on tasks' workers.
class IScanEngine {
public:
    virtual ~IScanEngine() = default;
    /// Waits until signatures are loaded, or have failed to be (eNotReady; `why` says why), or `cancelled` is true
    /// (eCancelled; looked at several times a second).
    virtual result_t WaitUntilReady(const std::function<bool()>& cancelled, std::string& why) = 0;
    /// For those who have files scanned one by one; null where there is none yet.
    virtual std::shared_ptr<scan::ScannerService> Scanner() const { return nullptr; }
    virtual std::unique_ptr<scan::IScanRun> MakeRun(ScanKind kind, scan::ScanOptions options,
                                                    scan::IScanObserver& observer) = 0;
};

} // namespace tfs::service::tasks
