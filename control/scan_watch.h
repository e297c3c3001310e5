// SPDX-License-Identifier: GPL-2.0-or-later
// Follows a scan: findings are reported as they come.
#pragma once

#include <control/task_watch.h>

namespace tfs::control {

class ScanWatch final : public TaskWatch {
public:
    ScanWatch(std::uint64_t taskId, IReporter& reporter) : TaskWatch(taskId, reporter) {}

    static EventFilter Filter();

    std::uint64_t Threats() const noexcept { return m_threats; }
    std::uint64_t NotProcessed() const noexcept { return m_notProcessed; }

private:
    void OnEvent(const Event& event) override;

    std::uint64_t m_threats = 0;
    std::uint64_t m_notProcessed = 0;
};

} // namespace tfs::control
