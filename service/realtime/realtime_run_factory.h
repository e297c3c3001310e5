// SPDX-License-Identifier: GPL-2.0-or-later
// Makes the runs of the file monitoring task.
#pragma once

#include <service/realtime/realtime_run.h>

#include <memory>
#include <utility>

namespace tfs::service::realtime {

/// Owned by the service's application object; what the setup refers to outlives it. Any thread.
class RealtimeRunFactory final : public tasks::IRunFactory {
public:
    RealtimeRunFactory(tasks::IScanEngine& engine, RealtimeSetup setup) : m_engine(engine), m_setup(std::move(setup)) {}

    /// The order's settings hold FileMonitoringSettings.
    std::shared_ptr<tasks::ITaskRun> MakeRun(tasks::RunOrder order, tasks::IRunHost& host) override {
        return std::make_shared<RealtimeRun>(std::move(order), m_setup, m_engine, host);
    }

private:
    tasks::IScanEngine& m_engine;
    const RealtimeSetup m_setup;
};

} // namespace tfs::service::realtime
