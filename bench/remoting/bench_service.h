// SPDX-License-Identifier: GPL-2.0-or-later
// The service's side of a measurement, in a process of its own.
#pragma once

#include <cstddef>
#include <string>
#include <sys/types.h>

namespace tfs::bench {

/// A byte on a service's standard input.
enum class Command : char {
    Settle = 'f',        ///< answered when all that was published is on the disk; has an event of its own
    Prepare = 'p',       ///< makes EventCount events for the next publication, which else makes each as it comes to it
    PublishStored = 's', ///< publishes EventCount events that the bus stores
    PublishTransient = 't',
};

/// The service's own event bus, with its database beside the socket, behind its own server. Serves until standard input
/// ends. `ringSize` is the bus's own where it is 0: a subscriber that has fallen out of the ring is served from the
/// database.
int RunService(const char* socketPath, std::size_t ringSize);

/// This program started anew with a mode and a socket path.
class ChildProcess {
public:
    ChildProcess(const char* mode, const std::string& socketPath);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    /// Returns when the process has settled or prepared; publications go on by themselves.
    void Tell(Command command) const;
    /// Field of /proc/<pid>/status, in kB: VmRSS or VmHWM.
    long Memory(const std::string& field) const;

private:
    void WaitUntilReady() const;

    pid_t m_pid = -1;
    int m_input = -1;
    int m_output = -1;
};

/// Writes the byte that a ChildProcess waits for.
void SayReady();

} // namespace tfs::bench
