// SPDX-License-Identifier: GPL-2.0-or-later
// Follows one scan task through its events.
#pragma once

#include <contract/tfs/event.h>
#include <control/reporter.h>

#include <string>

namespace tfs::control {

/// Owned by the scan command; main thread.
class ScanWatch {
public:
    /// Findings are reported as they come.
    ScanWatch(std::uint64_t taskId, IReporter& reporter) : m_taskId(taskId), m_reporter(reporter) {}

    /// What a subscription must ask for.
    static EventFilter Filter();

    /// Events of other tasks are left alone.
    void Take(const Event& event);

    bool HasEnded() const noexcept { return m_ended; }
    /// The service never began the task; Reason tells why.
    bool HasFailedToStart() const noexcept { return m_failedToStart; }
    ScanEnd End() const noexcept { return m_end; }
    /// Bytes, as the service told them; may be empty.
    const std::string& Reason() const noexcept { return m_reason; }
    std::uint64_t Threats() const noexcept { return m_threats; }
    std::uint64_t NotProcessed() const noexcept { return m_notProcessed; }

private:
    bool IsOfTask(const Event& event) const;
    void OnStateChanged(const Event& event);

    std::uint64_t m_taskId;
    IReporter& m_reporter;
    std::uint64_t m_threats = 0;
    std::uint64_t m_notProcessed = 0;
    bool m_ended = false;
    bool m_failedToStart = false;
    ScanEnd m_end = ScanEnd::Completed;
    std::string m_reason;
};

} // namespace tfs::control
