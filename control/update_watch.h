// SPDX-License-Identifier: GPL-2.0-or-later
// Follows an update or a rollback of the databases.
#pragma once

#include <control/task_watch.h>

namespace tfs::control {

class UpdateWatch final : public TaskWatch {
public:
    UpdateWatch(std::uint64_t taskId, IReporter& reporter) : TaskWatch(taskId, reporter) {}

    static EventFilter Filter();

    /// What the run came to, once it has ended. A run of which nothing else was told has done its work.
    UpdateResult Result(bool isRollback) const noexcept;
    /// With UpdateResult::Failed: bytes, may be empty.
    const std::string& Failure() const noexcept { return m_hasFailed ? m_failure : Reason(); }

private:
    void OnEvent(const Event& event) override;

    bool m_hasFailed = false;
    bool m_isUpToDate = false;
    std::string m_failure;
};

} // namespace tfs::control
