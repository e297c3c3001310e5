// SPDX-License-Identifier: GPL-2.0-or-later
// The engine: loads a signature set once and scans descriptors. One object a process, used on its only thread;
// forked workers share its memory.
#pragma once

#include <scanner/file_source.h>
#include <scanner/settings.h>
#include <scanner/verdict_rules.h>

#include <cstdint>
#include <string>
#include <vector>

struct cl_engine;

namespace tfs::scanner {

/// What is asked for one file within the limits of the engine's settings, which hold in any case.
struct ScanLimits {
    bool archives = true;          ///< false: an archive is scanned as a plain file
    std::uint64_t maxFileSize = 0; ///< bytes; 0: as in the settings; the parts of an archive keep the settings' limit
    std::uint64_t timeLimitMs = 0; ///< 0: as in the settings
};

class Engine {
public:
    Engine();
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    /// Loads all signatures of the folder. Returns an empty text, or why it failed.
    std::string Load(const Settings& settings);
    std::uint64_t Signatures() const noexcept { return m_signatures; }
    std::int64_t BasesDate() const noexcept { return m_date; }
    std::uint64_t Fingerprint() const noexcept { return m_fingerprint; }
    static std::string Version();

    /// Folder for temporary files from now on, as seen by this process.
    void SetTemporaryFolder(const std::string& folder);
    /// Multiplies the time limit for a file.
    void StretchTime(std::uint32_t factor) noexcept;
    /// Largest file that is read into memory; needs that much memory, taken when first used.
    void SetReadBuffer(std::size_t size);
    /// Gives back the memory of a large read buffer.
    void Trim() noexcept;
    /// Scans a small container, so that all that is made at first use is made before workers are forked. Returns an
    /// empty text, or what failed.
    std::string WarmUp();
    /// Scans one file. Never throws for what the file holds.
    Verdict Scan(int descriptor, IReadMonitor& monitor, const ScanLimits& limits = {});

private:
    Verdict ScanSource(FileSource& source, const ScanLimits& limits);
    void SetTimeLimit(std::uint64_t milliseconds) noexcept;

    cl_engine* m_engine = nullptr;
    std::uint64_t m_signatures = 0;
    std::int64_t m_date = 0;
    std::uint64_t m_fingerprint = 0;
    std::uint64_t m_maxFileSize = 0;
    std::uint64_t m_timeLimitMs = 0; ///< of the settings
    std::uint64_t m_timeInForce = 0; ///< of the scan that was last
    char* m_buffer = nullptr;
    std::size_t m_bufferSize = 0;
    std::size_t m_bufferUsed = 0;
};

} // namespace tfs::scanner
