// SPDX-License-Identifier: GPL-2.0-or-later
// One run of an on-demand scan: walks its areas and has every file scanned by the scanner's workers.
#pragma once

#include <contract/scanner_channel.h>
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
    std::vector<std::string> excludedMasks; ///< see CheckMask; files, and folders with all that is in them
    bool crossFileSystems = false;          ///< go on into other mounted file systems
    bool scanArchives = true;               ///< false: archives are scanned as plain files
    /// Only files are scanned that changed at or after this second since the Unix epoch; 0: all.
    std::int64_t changedSince = 0;
    std::uint32_t fileTimeLimitMs = 0; ///< for one file, at most the scanner's; 0: the scanner's
    std::uint64_t maxFileSize = 0;     ///< bytes, at most the scanner's; larger ones are over a limit; 0: the scanner's
    /// Only what comes behind this path in the order of the walk is scanned, a checkpoint of the run that goes on;
    /// empty: everything.
    std::string goOnBehind;
    /// Leaves processor and disk to all others, and takes fewer workers while they are busy.
    bool lowImpact = false;
    /// Only what this user may read is scanned, folder by folder and file by file; empty: all that the service may.
    std::optional<std::uint32_t> rightsOf;
};

/// Says in one line for people what is wrong with an exclusion mask; empty where it is good. `*`, `?` and `[...]` are
/// as in a shell and never match a slash. A mask without a slash is matched on the name of each file and folder, one
/// with a slash begins with it and is matched on the whole path from the root.
std::string CheckMask(const std::string& mask);

struct ThreatFound {
    std::string path;       ///< bytes of the file system
    std::string innerName;  ///< the member of a container, where the engine tells it
    std::string detectName; ///< the engine's name of the threat
    std::uint64_t size = 0; ///< of the file
    std::uint32_t ownerUid = 0;
    /// The very file that was scanned, open for reading; null where it can't be had any more, as for a boot record.
    std::shared_ptr<const scanner::Descriptor> file = nullptr;
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

/// Counters of a run in progress; those of a run that goes on begin anew, but for the percentage.
struct ScanProgress {
    std::uint32_t percent = 0; ///< 0 to 100, never falls
    std::uint64_t scannedObjects = 0;
    std::uint64_t scannedBytes = 0;
    std::uint64_t threats = 0;
    std::uint64_t notProcessed = 0;
    std::uint64_t encrypted = 0;
    std::uint64_t skipped = 0;                ///< not regular files: links, sockets, devices
    std::optional<std::uint32_t> secondsLeft; ///< empty until it can be told
};

/// Called from the run's threads, one call at a time, without a lock of the run held.
class IScanObserver {
public:
    virtual ~IScanObserver() = default;
    virtual void OnThreat(const ThreatFound& threat) = 0;
    virtual void OnNotProcessed(const NotProcessed& object) = 0;
    /// At most four times a second.
    virtual void OnProgress(const ScanProgress& progress) = 0;
    /// Everything that comes at or before this path in the order of the walk is settled, and what is worth telling of
    /// it has been told: another run may go on behind it, and count on from these counters, which leave out whatever
    /// was settled ahead of it. At most once a second, and once more at the end.
    virtual void OnCheckpoint([[maybe_unused]] const std::string& path, [[maybe_unused]] const ScanProgress& counters) {
    }
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

/// The executables and mapped files of running processes, each inode once, those without a name too; names as the
/// kernel shows them. No process is held up; one that ends meanwhile is left out, one that may not be looked into is
/// told as not processed. Areas and a checkpoint of the options mean nothing here. `processes` is another folder in
/// tests.
std::unique_ptr<IScanRun> MakeMemoryScanRun(ScannerService& scanner, ScanOptions options, IScanObserver& observer,
                                            const std::string& processes = "/proc");

/// The boot records of disks and partitions. One that can't be read is told as not processed; so is the lack of any.
/// Areas, exclusions and a checkpoint of the options mean nothing here. The folders are other ones in tests.
std::unique_ptr<IScanRun> MakeBootScanRun(ScannerService& scanner, ScanOptions options, IScanObserver& observer,
                                          const std::string& blockDevices = "/sys/class/block",
                                          const std::string& deviceFiles = "/dev");

} // namespace tfs::service::scan
