// SPDX-License-Identifier: GPL-2.0-or-later
// The process of tesl-scanner's parent: started by exec, ended with its folder removed. Used by the dispatcher only,
// under its lock.
#pragma once

#include <contract/scanner_channel.h>
#include <service/scan/scanner_service.h>

#include <chrono>
#include <string>
#include <sys/types.h>

namespace tfs::service::scan {

class ScannerProcess {
public:
    ScannerProcess() = default;
    ~ScannerProcess();
    ScannerProcess(const ScannerProcess&) = delete;
    ScannerProcess& operator=(const ScannerProcess&) = delete;

    /// Returns an empty text, or why it couldn't be started.
    std::string Start(const ScannerConfig& config);
    /// Closes its socket, at which it ends by itself; IsGone kills it after `patienceMs`. Doesn't wait.
    void Close(int patienceMs) noexcept;
    /// True when it was never started or is gone, reaped and cleared away. Doesn't wait.
    bool IsGone() noexcept;
    /// Closes its socket, gives it `patienceMs` to end by itself, kills it then, and reaps it.
    void End(int patienceMs) noexcept;
    int Control() const noexcept { return m_control.Get(); }
    pid_t Pid() const noexcept { return m_pid; }

private:
    void ClearAway() noexcept;

    std::chrono::steady_clock::time_point m_killAt;
    scanner::Descriptor m_control;
    pid_t m_pid = -1;
    std::string m_temporaryFolder;
};

} // namespace tfs::service::scan
