// SPDX-License-Identifier: GPL-2.0-or-later
// The process of tesl-scanner's parent: started by exec, ended with its folder removed. Used by the dispatcher only,
// under its lock.
#pragma once

#include <contract/scanner_channel.h>
#include <service/scan/scanner_service.h>

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
    /// Closes its socket, gives it `patienceMs` to end by itself, kills it then, and reaps it.
    void End(int patienceMs) noexcept;
    int Control() const noexcept { return m_control.Get(); }
    pid_t Pid() const noexcept { return m_pid; }

private:
    scanner::Descriptor m_control;
    pid_t m_pid = -1;
    std::string m_temporaryFolder;
};

} // namespace tfs::service::scan
