// SPDX-License-Identifier: GPL-2.0-or-later
// The service's side of the scanner: starts tesl-scanner, keeps it alive, hands it descriptors.
#pragma once

#include <foundation/object.h>
#include <foundation/trace.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tfs::service::scan {

struct ScannerConfig {
    std::string program;                 ///< path of tesl-scanner
    std::string basesFolder;             ///< signatures
    std::string temporaryFolder;         ///< on tmpfs; empty: the scanner chooses
    std::uint32_t maxWorkers = 0;        ///< 0: as many as processors
    std::uint64_t workerMemoryLimit = 0; ///< bytes beyond the loaded signatures; 0: default
    std::uint32_t fileTimeLimitMs = 0;   ///< 0: default (120 s)
    std::uint32_t filesPerWorker = 0;    ///< recycled after so many; 0: default
    std::uint64_t maxFileSize = 0;       ///< bytes; larger files are "not processed"; 0: default (1 GiB)
    std::uint64_t maxScanSize = 0;       ///< bytes of a file with all its parts; 0: default (2 GiB)
    std::uint32_t maxFiles = 0;          ///< parts of one file; 0: default (100000)
    std::uint32_t settleSeconds = 0;     ///< files that changed less long ago aren't remembered as clean; 0: default
    std::string cacheFile;               ///< where clean files are remembered over restarts; empty: nowhere
    std::uint64_t temporarySize = 0;     ///< bytes of the scanner's tmpfs; 0: default (2 GiB or a quarter of memory)
};

struct ScannerState {
    bool loaded = false; ///< signatures are loaded and workers answer
    std::uint64_t signatures = 0;
    std::int64_t basesDate = 0; ///< seconds since the Unix epoch
    std::string engineVersion;
    std::uint32_t workers = 0;
    std::int32_t process = -1; ///< of the scanner; 0 or less where none runs
    std::string error;         ///< why it isn't loaded
    std::string sandbox;       ///< what the scanner is shut in by, for the trace
};

/// Owned by the service's application object; outlives every scan run. All operations may be called from any thread.
class ScannerService {
public:
    ScannerService(ScannerConfig config, ulk::Ptr<ulk::ITracer> tracer);
    ~ScannerService();
    ScannerService(const ScannerService&) = delete;
    ScannerService& operator=(const ScannerService&) = delete;

    /// Starts the scanner; returns when signatures are loaded or have failed to (see State).
    result_t Start();
    /// Ends the scanner; requests under way answer Cancelled.
    void Stop() noexcept;
    /// Loads the signatures of another folder beside those in use and takes them into use when they are loaded: files
    /// in hand are finished with the old ones, no file waits for the new. Blocks until then, or until `cancelled` is
    /// true (looked at several times a second; eCancelled). Where they can't be loaded the old ones stay and `why` is
    /// one line for people. One at a time.
    result_t Replace(const std::string& basesFolder, const std::function<bool()>& cancelled, std::string& why);
    ScannerState State() const;
    /// Called on an inner thread whenever State has changed.
    void SetStateChanged(std::function<void()> changed);

    class Impl;
    const std::shared_ptr<Impl>& Inner() noexcept { return m_impl; }

private:
    std::shared_ptr<Impl> m_impl; ///< shared with threads of runs that hang in a file system
};

} // namespace tfs::service::scan
