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

    /// Checks that "<stem>log" can be written in the folder and clears what ended processes of the program left there;
    /// the file itself is made by the first line. eAccessDenied where the folder or the file is a symbolic link or not
    /// this user's, eInvalidArgument for a stem that isn't a name.
    result_t Open(const std::string& folder, const std::string& stem, std::uint64_t sizeLimit, std::uint32_t fileCount);
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
