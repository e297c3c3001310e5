// SPDX-License-Identifier: GPL-2.0-or-later
// One run of an on-demand scan: walks its areas and has every file scanned by the scanner's workers.
#pragma once

#include <contract/tfs/tasks.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tfs::service::scan {

class ScannerService; // service/scan/scanner_service.h

struct ScanOptions {
    std::vector<std::string> areas;         ///< absolute paths; files or folders
    std::vector<std::string> excludedPaths; ///< absolute; whole subtrees
    bool crossFileSystems = false;          ///< go on into other mounted file systems
    /// Only what this user may read is scanned, folder by folder and file by file; empty: all that the service may.
    std::optional<std::uint32_t> rightsOf;
};

struct ThreatFound {
    std::string path;       ///< bytes of the file system
    std::string innerName;  ///< the member of a container, where the engine tells it
    std::string detectName; ///< the engine's name of the threat
    std::uint64_t size = 0; ///< of the file
    std::uint32_t ownerUid = 0;
};

/// Why a file was not wholly read. Never shown as clean.
enum class NotProcessedReason {
    OpenFailed,
    AccessDenied, ///< the user for whom the scan runs may not read it, or the service itself may not
    ReadError,
    Changed, ///< truncated, grown or replaced while it was read
    Encrypted,
    Limit, ///< size, depth, number of parts or a ratio over the engine's limits
    TimeLimit,
    NotUnpacked,  ///< an archive, or a part of it, is damaged or of an unknown kind
    EngineFailed, ///< the worker crashed or hung twice
    OutOfSpace,   ///< temporary folder full
    Cancelled,
};

/// Text of a reason, for events and the command line.
const char* ReasonText(NotProcessedReason reason) noexcept;

struct NotProcessed {
    std::string path;
    NotProcessedReason reason = NotProcessedReason::OpenFailed;
    std::string detail; ///< the system's or the engine's words; may be empty
};

/// Counters of a run in progress.
struct ScanProgress {
    std::uint32_t percent = 0; ///< 0 to 100, never falls
    std::uint64_t scannedObjects = 0;
    std::uint64_t scannedBytes = 0;
    std::uint64_t threats = 0;
    std::uint64_t notProcessed = 0;
    std::uint64_t encrypted = 0;
    std::uint64_t skipped = 0; ///< not regular files: links, sockets, devices
};

/// Called from the run's threads, one call at a time, without a lock of the run held.
class IScanObserver {
public:
    virtual ~IScanObserver() = default;
    virtual void OnThreat(const ThreatFound& threat) = 0;
    virtual void OnNotProcessed(const NotProcessed& object) = 0;
    /// At most four times a second.
    virtual void OnProgress(const ScanProgress& progress) = 0;
};

enum class ScanEnd { Completed, Stopped, Failed };

struct ScanResult {
    ScanEnd end = ScanEnd::Completed;
    ScanProgress counters;
    std::string error; ///< with Failed: why
};

/// One run. Run() is called once; the others may be called from any thread at any time.
class IScanRun {
public:
    virtual ~IScanRun() = default;
    /// Blocks until the scan has ended. Resume goes on where pause stopped.
    virtual ScanResult Run() = 0;
    /// Run returns within a second, also inside a large file.
    virtual void Stop() noexcept = 0;
    /// No new file is begun; files in hand are held within a second.
    virtual void Pause() noexcept = 0;
    virtual void Resume() noexcept = 0;
};

std::unique_ptr<IScanRun> MakeScanRun(ScannerService& scanner, ScanOptions options, IScanObserver& observer);

} // namespace tfs::service::scan
