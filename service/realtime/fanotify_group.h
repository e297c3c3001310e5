// SPDX-License-Identifier: GPL-2.0-or-later
// One notification group of the kernel: the descriptor, its marks, its events and the answers to them.
#pragma once

#include <contract/scanner_channel.h>

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tfs::service::realtime {

/// One event. An event that waits for an answer holds its opener until it gets one.
struct AccessEvent {
    scanner::Descriptor file; ///< open for reading; opening and reading it raised no event
    std::uint64_t mask = 0;
    pid_t process = 0;

    bool WaitsForAnswer() const noexcept;
};

/// Operations return 0 or an errno value. Open and Close are the owner's; all others may be called from any thread in
/// between. The descriptor is close-on-exec.
class FanotifyGroup {
public:
    enum class Kind {
        Deciding, ///< its events may wait for an answer
        Telling,  ///< it is only told of what has happened
    };
    enum class Reach {
        Folder,     ///< the files that lie right in a folder
        FileSystem, ///< all files, by whatever mount they are reached
    };

    int Open(Kind kind) noexcept;
    /// Whoever still waits for an answer is let through by the kernel.
    void Close() noexcept { m_descriptor.Reset(); }
    bool IsOpen() const noexcept { return static_cast<bool>(m_descriptor); }
    /// For poll.
    int Descriptor() const noexcept { return m_descriptor.Get(); }

    /// Adds to what is watched there already. Links are not followed.
    int Mark(Reach reach, std::uint64_t mask, const std::string& path) noexcept;
    /// No file and no file system is watched any more.
    void DropMarks() noexcept;
    /// No opening of that file raises an event until the file is modified or memory is short.
    int Ignore(int file) noexcept;
    void Heed(int file) noexcept;
    /// Of all files; the marks of folders go with it.
    void DropFileMarks() noexcept;

    /// Takes what is there and never waits for more. `overflow` is set where events were lost, else left alone. Events
    /// are appended; EAGAIN where there was none.
    int Read(std::vector<AccessEvent>& events, bool& overflow);
    /// To the descriptor of an event that waits. Never waits.
    void Answer(int file, bool allow) noexcept;

private:
    scanner::Descriptor m_descriptor;
};

} // namespace tfs::service::realtime
