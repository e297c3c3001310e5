// SPDX-License-Identifier: GPL-2.0-or-later
// One run of a scan task: waits for the scanner, tests the areas, scans, publishes what is found.
#pragma once

#include <foundation/sync.h>
#include <service/scan/scan_run.h>
#include <service/storage/object_keeper.h>
#include <service/tasks/scan_engine.h>
#include <service/tasks/task_run.h>
#include <service/tasks/user_names.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace tfs::service::tasks {

class ScanTaskRun final : public ITaskRun, public scan::IScanObserver {
public:
    /// What the scanner is told beside the order.
    struct Description {
        ScanKind kind = ScanKind::Files;
        scan::ScanOptions options;
        bool withLocalMounts = false; ///< the areas' other local file systems are scanned too
        bool takesThreats = false;    ///< else they are told alone
        storage::IObjectKeeper* keeper = nullptr;
    };

    ScanTaskRun(RunOrder order, Description description, IScanEngine& engine, IRunHost& host, UserNames& names);

    void Execute() noexcept override;
    void Stop() noexcept override;
    void Pause() noexcept override;
    void Resume() noexcept override;

private:
    void OnThreat(const scan::ThreatFound& threat) override;
    void OnNotProcessed(const scan::NotProcessed& object) override;
    void OnProgress(const scan::ScanProgress& progress) override;
    void OnCheckpoint(const std::string& path, const scan::ScanProgress& counters) override;

    void Run(RunOutcome& outcome);
    void AdmitAreas();
    void Treat(const scan::ThreatFound& threat, types::EventSeverity::Type dangerLevel);
    void CountNotProcessed(const scan::NotProcessed& object);
    void TakeCounters(const scan::ScanProgress& progress);
    void TellCounters();
    std::shared_ptr<scan::IScanRun> Inner() const;
    bool IsStopped() const;

    const RunOrder m_order;
    Description m_description;
    IScanEngine& m_engine;
    IRunHost& m_host;
    UserNames& m_names;

    mutable ulk::Mutex m_mutex;
    bool m_stopped ULK_GUARDED_BY(m_mutex) = false;
    std::shared_ptr<scan::IScanRun> m_inner ULK_GUARDED_BY(m_mutex);

    // Touched by one thread at a time: the worker, and the observer's calls while it waits in Run.
    ScanStatistic m_counters;
    std::uint64_t m_bytes = 0;
    std::string m_lastInfected;
    std::optional<std::uint32_t> m_lastPercent;
    std::chrono::steady_clock::time_point m_lastProgress;
};

} // namespace tfs::service::tasks
