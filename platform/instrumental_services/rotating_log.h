// SPDX-License-Identifier: GPL-2.0-or-later
// The files that lines go to.
#pragma once

#include <foundation/result.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace platform::instrumental {

/// A log of at most `fileCount` files of at most `sizeLimit` bytes each. A line that can't be written (disk full,
/// folder gone) is lost and the file is opened anew at the earliest a second later. Not thread-safe: the tracer calls
/// it under its lock.
class RotatingLog {
public:
    RotatingLog();
    ~RotatingLog();

    /// Opens "<stem>log" in the folder. eAccessDenied where the folder or a file is a symbolic link or not this user's.
    result_t Open(const std::string& folder, const std::string& stem, std::uint64_t sizeLimit, std::uint32_t fileCount);
    bool IsOpen() const noexcept { return m_opened; }
    void Close() noexcept;
    /// Appends one line, which ends in a line feed, and hands it to the system.
    void Write(std::string_view line) noexcept;
    void Flush() noexcept;

private:
    struct Sink;

    void MakeSink();
    bool EnsureSink();
    void Abandon() noexcept;

    std::unique_ptr<Sink> m_sink;
    std::string m_folder;
    std::string m_path;
    std::size_t m_sizeLimit = 0;
    std::size_t m_rotatedFiles = 0;
    bool m_opened = false;
    std::chrono::steady_clock::time_point m_retryAt;
};

} // namespace platform::instrumental
