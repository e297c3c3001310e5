// SPDX-License-Identifier: GPL-2.0-or-later
// The file under the scan, as the engine reads it: counts bytes and notices every way in which it was not wholly read.
#pragma once

#include <scanner/verdict_rules.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>

namespace tfs::scanner {

/// Asked between two reads whether to go on.
class IReadMonitor {
public:
    virtual ~IReadMonitor() = default;
    /// False cancels the scan. `bytes` is what was read so far.
    virtual bool GoOn(std::uint64_t bytes) = 0;
};

/// Lives for one scan on the worker's thread; borrows the descriptor.
class FileSource {
public:
    FileSource(int descriptor, IReadMonitor& monitor) noexcept : m_descriptor(descriptor), m_monitor(monitor) {}

    /// Takes note of the file's state. False when it is no regular file or can't be asked.
    bool Begin();
    std::uint64_t Size() const noexcept { return static_cast<std::uint64_t>(m_before.st_size); }
    /// Reads the file into `buffer`, which has room for one byte more than the file. False when it didn't work.
    bool ReadWhole(std::span<char> buffer);
    /// pread for the engine: the number of bytes, or -1 with errno.
    off_t Read(void* buffer, std::size_t count, off_t offset) noexcept;
    /// Compares the file's state with the one at the beginning; to be called after the scan.
    void End();

    std::uint64_t Bytes() const noexcept { return m_bytes; }
    SourceTrouble Trouble() const noexcept { return m_trouble; }
    const std::string& Detail() const noexcept { return m_detail; }

private:
    void Note(SourceTrouble trouble, std::string detail);

    int m_descriptor;
    IReadMonitor& m_monitor;
    struct stat m_before {};
    std::uint64_t m_bytes = 0; ///< furthest byte read, so that reading twice doesn't count twice
    SourceTrouble m_trouble = SourceTrouble::None;
    std::string m_detail;
};

} // namespace tfs::scanner
