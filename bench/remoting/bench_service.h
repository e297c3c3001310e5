// SPDX-License-Identifier: GPL-2.0-or-later
// The service's side of a measurement, in a process of its own.
#pragma once

#include <cstddef>
#include <string>
#include <sys/types.h>

namespace tfs::bench {

/// Serves until standard input ends; 'p' read from it publishes EventCount events. A ring of `ringSize` events: a
/// subscriber that has fallen out of it is served from the feed's store.
int RunService(const char* socketPath, std::size_t ringSize);

/// This program started anew with a mode and a socket path.
class ChildProcess {
public:
    ChildProcess(const char* mode, const std::string& socketPath);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    void Publish() const;
    /// Field of /proc/<pid>/status, in kB: VmRSS or VmHWM.
    long Memory(const std::string& field) const;

private:
    pid_t m_pid = -1;
    int m_input = -1;
    int m_output = -1;
};

/// Writes the byte that a ChildProcess waits for.
void SayReady();

inline constexpr unsigned EventCount = 100'000;

} // namespace tfs::bench
