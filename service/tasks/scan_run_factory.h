// SPDX-License-Identifier: GPL-2.0-or-later
// Makes the runs of scans: of files, of memory, of boot records.
#pragma once

#include <service/storage/object_keeper.h>
#include <service/tasks/scan_engine.h>
#include <service/tasks/task_run.h>
#include <service/tasks/user_names.h>

#include <string>
#include <vector>

namespace tfs::service::tasks {

/// Owned by the service's application object. Any thread.
class ScanRunFactory final : public IRunFactory {
public:
    /// `exclusions` are left out of every scan: absolute paths, with everything below them. Without a keeper threats
    /// are told and stay where they are.
    ScanRunFactory(IScanEngine& engine, std::vector<std::string> exclusions, storage::IObjectKeeper* keeper = nullptr)
        : m_engine(engine), m_exclusions(std::move(exclusions)), m_keeper(keeper) {}

    /// The order's settings hold ScanSettings; its task's type says what is scanned.
    std::shared_ptr<ITaskRun> MakeRun(RunOrder order, IRunHost& host) override;

private:
    IScanEngine& m_engine;
    const std::vector<std::string> m_exclusions;
    storage::IObjectKeeper* const m_keeper;
    UserNames m_names;
};

} // namespace tfs::service::tasks
